#include "Utf8Text.h"

#include <cstring>

namespace {

const char kReplacement[] = "\xEF\xBF\xBD";

// Length of the valid UTF-8 sequence starting at p, or 0.
std::size_t SequenceLength(const unsigned char* p, std::size_t left)
{
    const unsigned char c = p[0];
    if (c < 0x80)
        return 1;
    std::size_t len;
    unsigned int min;
    unsigned int cp;
    if ((c & 0xE0) == 0xC0) { len = 2; min = 0x80; cp = c & 0x1F; }
    else if ((c & 0xF0) == 0xE0) { len = 3; min = 0x800; cp = c & 0x0F; }
    else if ((c & 0xF8) == 0xF0) { len = 4; min = 0x10000; cp = c & 0x07; }
    else return 0;
    if (left < len)
        return 0;
    for (std::size_t i = 1; i < len; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (p[i] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return len;
}

}  // namespace

std::string Utf8Text::Repair(const std::string& bytes)
{
    std::string out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    while (left > 0) {
        const std::size_t len = SequenceLength(p, left);
        if (len == 0) {
            out += kReplacement;
            ++p;
            --left;
            continue;
        }
        out.append(reinterpret_cast<const char*>(p), len);
        p += len;
        left -= len;
    }
    return out;
}

std::string Utf8Text::FromBuffer(const char* buffer, std::size_t size)
{
    if (!buffer || size == 0)
        return std::string();
    std::size_t length = strnlen(buffer, size);
    // A full buffer was cut by the writer, perhaps inside a character:
    // the stump of it goes, as the cut itself goes unnoticed.
    if (length + 1 >= size) {
        std::size_t start = length;
        while (start > 0 && length - start < 4
               && (static_cast<unsigned char>(buffer[start - 1]) & 0xC0) == 0x80)
            --start;
        if (start > 0) {
            const auto lead = static_cast<unsigned char>(buffer[start - 1]);
            const std::size_t need = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
            if (need > 1 && length - (start - 1) < need)
                length = start - 1;
        }
    }
    return Repair(std::string(buffer, length));
}

std::string Utf8Text::FromCString(const char* text)
{
    return text ? Repair(std::string(text)) : std::string();
}
