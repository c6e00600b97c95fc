#include "CallbackTable.h"

CallbackTable::CallbackTable(void** callbacks, int count)
{
    if (!callbacks)
        return;
    for (int i = 0; i < count && i < ZYN_CALLBACK_COUNT; ++i)
        m_entries[i] = callbacks[i];
}
