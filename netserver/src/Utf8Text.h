#ifndef UTF8TEXT_H
#define UTF8TEXT_H

#include <cstddef>
#include <string>

// Texts from the plug-in are cut to a buffer's size without regard to
// character boundaries, and texts of the Notify entry points are in the
// local 8-bit encoding. Protobuf refuses a string field that is not
// UTF-8, so everything that goes on the wire passes through here.
class Utf8Text
{
public:
    // Bytes up to the first NUL, at most size; invalid sequences become U+FFFD.
    static std::string FromBuffer(const char* buffer, std::size_t size);
    static std::string FromCString(const char* text);
    static std::string Repair(const std::string& bytes);
};

#endif
