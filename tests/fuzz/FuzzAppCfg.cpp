// TMRNC.INI as anyone may write it while the HMI runs: the change is read as
// the watcher reports it. Whatever the bytes, every setting in force stays
// usable, the file is left as it was written, and a file that is no ini of
// the plug-in leaves the settings in force alone.
#include "AppCfg.h"
#include "FuzzSupport.h"

namespace {
QString g_file;

QStringList Settings()
{
    QString values[9];
    CAppCfg::m_instance.GetSettings(values[0], values[1], values[2], values[3], values[4], values[5], values[6],
                                    values[7], values[8]);
    return QStringList(values, values + 9);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::Init();
    QDir().mkpath(fuzz::Dir() + QStringLiteral("/appl/cfg"));
    g_file = fuzz::Dir() + QStringLiteral("/appl/cfg/TMRNC.INI");
    QFile::copy(QStringLiteral(HARVEL_SOURCE_DIR "/plugin/TMRNC.INI"), g_file);
    if (!CAppCfg::m_instance.Initialize(fuzz::Dir() + QStringLiteral("/appl"), g_file))
        fuzz::Fail("Initialize", g_file);
    TestLogger::Take();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    const QStringList before = Settings();
    if (!fuzz::WriteFile(g_file, data, size))
        fuzz::Fail("write", g_file);
    CAppCfg::m_instance.OnFileChanged(g_file);
    const QString log = TestLogger::Take().join(QString());
    const QStringList after = Settings();

    for (const QString& value : after)
        FUZZ_CHECK(!value.trimmed().isEmpty() && value == value.trimmed(), after.join('|'));
    bool ok = false;
    const uint port = after.at(5).toUInt(&ok);
    FUZZ_CHECK(ok && port <= 65535, after.at(5));
    FUZZ_CHECK(fuzz::ReadFile(g_file) == bytes, "the ini file was rewritten");
    if (log.contains(QStringLiteral("Read ini file failed")))
        FUZZ_CHECK(after == before, "refused file changed the settings");
    return 0;
}
