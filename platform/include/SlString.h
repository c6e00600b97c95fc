#pragma once

#include <QString>

// The PI service's string: an 8-bit string as the NC takes it.
class SlString
{
public:
    SlString() = default;
    SlString(const char* text) : m_text(QString::fromLatin1(text)) {}
    SlString(const QString& text) : m_text(text) {}

    const char* c_str() const;
    QString toQString() const { return m_text; }
    int length() const { return m_text.length(); }
    bool isEmpty() const { return m_text.isEmpty(); }
    bool operator==(const SlString& other) const { return m_text == other.m_text; }

private:
    QString m_text;
    mutable QByteArray m_latin1;
};
