// A request file as the net server hands it over, carried out on a
// commissioned virtual NC: read, parsed, its arguments checked and executed.
// Whatever the bytes, the result is 0 or a negative code, the file's fate
// matches the result, a failed request keeps its bytes in its ".REP" file,
// and nothing appears in the request folder but the fates and an answer.
#include "FuzzSupport.h"
#include "SiemensAPIOperate.h"
#include "SiemensInteractive.h"
#include "VirtualNc.h"
#include "ZynNetServerHost.h"

namespace {
VirtualNc* g_nc = nullptr;
CSiemensAPIOperate* g_api = nullptr;
CSiemensInteractive* g_processor = nullptr;
QString g_reqDir;
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::Init();
    QString error;
    g_nc = VirtualNc::open(fuzz::Dir() + QStringLiteral("/machine"), error);
    if (!g_nc)
        fuzz::Fail("VirtualNc::open", error);
    g_reqDir = fuzz::Dir() + QStringLiteral("/req");
    QDir().mkpath(g_reqDir);
    QDir().mkpath(fuzz::Dir() + QStringLiteral("/appl"));
    // Net server mode: the file is read where it lies, and answers go there.
    CZynNetServerHost::m_isRunning = true;
    CZynNetServerHost::m_reqDir = g_reqDir;
    g_api = new CSiemensAPIOperate();
    g_processor = new CSiemensInteractive(fuzz::Dir() + QStringLiteral("/appl"), g_api);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString file = g_reqDir + QStringLiteral("/F.req");
    if (!fuzz::WriteFile(file, data, size))
        fuzz::Fail("write", file);
    const int result = g_processor->ProcessReqFile(true, file);
    const QStringList log = TestLogger::Take();

    QDir dir(g_reqDir);
    const QStringList left = dir.entryList(QDir::Files | QDir::Hidden | QDir::System);
    FUZZ_CHECK(result <= 0, QString::number(result));
    FUZZ_CHECK(!left.contains(QStringLiteral("F.req")), left.join(','));
    if (result == 0) {
        FUZZ_CHECK(!left.contains(QStringLiteral("F.REP")), left.join(','));
    } else {
        const QByteArray kept = fuzz::ReadFile(g_reqDir + QStringLiteral("/F.REP"));
        FUZZ_CHECK(kept == QByteArray(reinterpret_cast<const char*>(data), int(size)), "the failed request lost bytes");
        FUZZ_CHECK(log.join(QString()).contains(QStringLiteral("failed.")), log.join(QString()));
    }
    // An answer is a bare name in this folder; anything else would have
    // been written elsewhere.
    for (const QString& name : left)
        FUZZ_CHECK(!name.contains('/') && name != QLatin1String(".."), name);
    for (const QString& name : left)
        dir.remove(name);
    return 0;
}
