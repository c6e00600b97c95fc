// The HMI's versions.xml: whatever it holds, the reading ends with a version
// or a code, and a version is trimmed text.
#include "FuzzSupport.h"
#include "SiemensAPIOperate.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString file = fuzz::Dir() + QStringLiteral("/versions.xml");
    if (!fuzz::WriteFile(file, data, size))
        fuzz::Fail("write", file);
    QString version;
    const int result = CSiemensAPIOperate::GetVersionFromXmlFile(file, version);
    FUZZ_CHECK(result == 0 || result == -96, QString::number(result));
    FUZZ_CHECK(result != 0 || version == version.trimmed(), version);
    FUZZ_CHECK(result == 0 || version.isEmpty(), version);
    return 0;
}
