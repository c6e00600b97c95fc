#include "SlString.h"

const char* SlString::c_str() const
{
    m_latin1 = m_text.toLatin1();
    return m_latin1.constData();
}
