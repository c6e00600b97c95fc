#pragma once

#include <QMetaType>

// Result of every variable service call. Zero is success; failures carry the
// platform's 32-bit codes, which callers print in hexadecimal.
enum SlCapErrorEnum : unsigned int
{
    SL_CAP_OK = 0,
    SL_CAP_ERR_SYNTAX = 0x80320001u,         // the address is not in the NC's notation
    SL_CAP_ERR_UNKNOWN_ITEM = 0x80320002u,   // no such variable, or a GUD not (yet) defined
    SL_CAP_ERR_RANGE = 0x80320003u,          // unit, row, index or count outside the variable
    SL_CAP_ERR_TYPE = 0x80320004u,           // the value cannot be converted to the variable's type
    SL_CAP_ERR_READ_ONLY = 0x80320005u,      // the NC refuses writes to this variable
    SL_CAP_ERR_NO_CONNECTION = 0x80320006u,  // no NC is running in this process
    SL_CAP_ERR_INVALID_HANDLE = 0x80320007u, // unadvise of a handle that is not subscribed
    SL_CAP_ERR_STRING_LENGTH = 0x80320008u,  // a string longer than its STRING[n] definition
    SL_CAP_ERR_NOT_INITIALIZED = 0x80320009u, // the service object was not set up
    SL_CAP_ERR_TIMEOUT = 0x8032000Au         // the NC did not answer within the time-out
};

Q_DECLARE_METATYPE(SlCapErrorEnum)
