#ifndef CALLBACKTABLE_H
#define CALLBACKTABLE_H

#include "ZynNetServer.h"

// The plug-in's table, copied: the caller's array lives only during
// CreateInstance.
class CallbackTable
{
public:
    CallbackTable() = default;
    CallbackTable(void** callbacks, int count);

    template <class Fn>
    Fn Get(tagZynCallbackIndex index) const
    {
        return reinterpret_cast<Fn>(m_entries[index]);
    }

private:
    void* m_entries[ZYN_CALLBACK_COUNT] = {};
};

#endif
