#include "HmiSystemConfig.h"

#include "SlGfwIniFile.h"

#include <QDir>
#include <QFileInfo>

QStringList HmiSystemConfig::layers()
{
    return {QStringLiteral("siemens"), QStringLiteral("addon"), QStringLiteral("oem"), QStringLiteral("user")};
}

QString HmiSystemConfig::hmiFolder(const QString& machineDir, const QString& layer)
{
    return QDir(machineDir).filePath(QStringLiteral("card/%1/sinumerik/hmi").arg(layer));
}

void HmiSystemConfig::load(const QString& machineDir, QStringList& errors)
{
    m_areas.clear();
    const QString base = hmiFolder(machineDir);
    auto resolve = [&base](const QString& path) {
        return path.isEmpty() || QFileInfo(path).isAbsolute() ? path : QDir(base).filePath(path);
    };
    for (const QString& layer : layers()) {
        const QString file = QDir(hmiFolder(machineDir, layer)).filePath(QStringLiteral("cfg/systemconfiguration.ini"));
        if (!QFileInfo::exists(file))
            continue;
        SlGfwIniFile ini;
        QString error;
        if (!ini.load(file, error)) {
            errors << error;
            continue;
        }
        const SlGfwIniFile::Section* areas = ini.section(QStringLiteral("areas"));
        if (!areas)
            continue;
        for (const SlGfwIniFile::Entry& e : areas->entries) {
            Area area;
            area.key = e.key;
            area.source = QStringLiteral("%1:%2").arg(file).arg(e.line);
            QList<QPair<QString, QString>> settings;
            if (!SlGfwIniFile::splitSettings(e.value, settings, error)) {
                errors << QStringLiteral("%1: %2").arg(area.source, error);
                continue;
            }
            bool bad = false;
            for (const auto& s : settings) {
                const QString k = s.first.toLower();
                if (k == QLatin1String("name"))
                    area.name = s.second;
                else if (k == QLatin1String("dialog"))
                    area.dialog = s.second;
                else if (k == QLatin1String("text"))
                    area.text = s.second;
                else if (k == QLatin1String("library"))
                    area.library = resolve(s.second);
                else if (k == QLatin1String("cfg"))
                    area.cfg = resolve(s.second);
                else {
                    errors << QStringLiteral("%1: unknown setting '%2' (known: name, dialog, text, library, cfg)")
                                  .arg(area.source, s.first);
                    bad = true;
                }
            }
            if (bad)
                continue;
            if (area.name.isEmpty() || area.dialog.isEmpty() || area.library.isEmpty() || area.cfg.isEmpty()) {
                errors << QStringLiteral("%1: an area needs name, dialog, library and cfg").arg(area.source);
                continue;
            }
            if (area.text.isEmpty())
                area.text = area.name;
            bool replaced = false;
            for (Area& a : m_areas) {
                if (a.key == area.key) {
                    a = area;
                    replaced = true;
                }
            }
            if (!replaced)
                m_areas.append(area);
        }
    }
}
