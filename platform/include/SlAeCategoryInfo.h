#pragma once

#include <QString>

// One alarm category of the alarm service.
class SlAeCategoryInfo
{
public:
    SlAeCategoryInfo() = default;
    SlAeCategoryInfo(unsigned int id, const QString& description) : m_id(id), m_description(description) {}

    unsigned int getCategoryId() const { return m_id; }
    QString getDescription() const { return m_description; }

    unsigned int m_id = 0;
    QString m_description;
};
