#pragma once

#include <QMetaType>

// Identifies one subscription of an SlQCap; filled by advise or multiAdvise.
class SlQCapHandle
{
public:
    SlQCapHandle() = default;
    bool isValid() const { return m_id != 0; }

    unsigned int m_id = 0; // unique in the process while the subscription lives
};

Q_DECLARE_METATYPE(SlQCapHandle)
