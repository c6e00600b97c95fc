#include "SlQCapNamespace.h"

#include "VirtualNc.h"

SlQCapNamespace::SlQCapNamespace(const QString& nameSpace, const char*) : m_nameSpace(nameSpace) {}

SlCapErrorEnum SlQCapNamespace::map(unsigned int, unsigned long long)
{
    VirtualNc* nc = VirtualNc::current();
    if (!nc)
        return SL_CAP_ERR_NO_CONNECTION;
    // A block without activated definitions has no names to map; symbolic
    // addresses into it fail until its definition file is activated.
    m_mapped = !nc->definedVariables(m_nameSpace).isEmpty();
    return m_mapped ? SL_CAP_OK : SL_CAP_ERR_UNKNOWN_ITEM;
}
