#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// The ini dialect of the operator interface's configuration files:
// "[section]" lines, "key = value" lines, ";" or "#" comment lines. Unlike
// QSettings it keeps sections and keys in file order and remembers line
// numbers, so a configuration error can be reported where it stands.
class SlGfwIniFile
{
public:
    struct Entry
    {
        QString key;
        QString value;
        int line = 0;
    };
    struct Section
    {
        QString name;
        int line = 0;
        QList<Entry> entries;

        QString value(const QString& key, const QString& fallback = QString()) const;
        bool contains(const QString& key) const;
    };

    bool load(const QString& path, QString& error);
    bool parse(const QString& text, QString& error);

    QString fileName() const { return m_fileName; }
    const QList<Section>& sections() const { return m_sections; }
    const Section* section(const QString& name) const;

    // Splits "text:=Log, screen:=screenLog" into its settings. A comma
    // separates settings only where the next one begins with "word:=", so a
    // value may hold commas of its own. False with error for text that is
    // not made of such settings.
    static bool splitSettings(const QString& text, QList<QPair<QString, QString>>& settings, QString& error);

private:
    QString m_fileName;
    QList<Section> m_sections;
};
