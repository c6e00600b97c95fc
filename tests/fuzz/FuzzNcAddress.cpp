// A variable address as a client or a script names it: whatever the text,
// the parse fails with a reason or gives an area, a name and the numbers it
// read, and the address's key and bare form are those of the text.
#include "NcAddress.h"

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), int(size));
    NcAddress address;
    QString why;
    if (!NcAddress::parse(text, address, why)) {
        FUZZ_CHECK(!why.isEmpty(), text);
        return 0;
    }
    FUZZ_CHECK(address.area != NcAddress::Invalid, text);
    FUZZ_CHECK(!address.name.isEmpty() && !address.key().isEmpty(), text);
    FUZZ_CHECK(address.count >= -1 && address.unit >= -1 && address.column >= -1, text);
    // Blanks around the address are not part of it.
    FUZZ_CHECK(text.trimmed().startsWith(address.bare()), text + " / " + address.bare());
    NcAddress again;
    FUZZ_CHECK(NcAddress::parse(text, again, why) && again.key() == address.key() && again.numbers == address.numbers,
               text);
    return 0;
}
