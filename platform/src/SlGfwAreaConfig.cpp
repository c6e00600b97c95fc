#include "SlGfwAreaConfig.h"

#include "SlGfwIniFile.h"

#include <QRegularExpression>

QStringList SlGfwAreaConfig::menus()
{
    return {QStringLiteral("myVr"), QStringLiteral("myHu")};
}

bool SlGfwAreaConfig::load(const QString& path, QString& error)
{
    m_fileName = path;
    SlGfwIniFile ini;
    return ini.load(path, error) && build(ini, error);
}

bool SlGfwAreaConfig::parse(const QString& text, QString& error)
{
    SlGfwIniFile ini;
    return ini.parse(text, error) && build(ini, error);
}

const SlGfwAreaConfig::Screen* SlGfwAreaConfig::screen(const QString& name) const
{
    for (const Screen& s : m_screens)
        if (s.name == name)
            return &s;
    return nullptr;
}

QString SlGfwAreaConfig::formClass(const QString& form) const
{
    for (const Screen& s : m_screens)
        if (s.form == form)
            return s.formClass;
    return QString();
}

SlGfwAreaConfig SlGfwAreaConfig::singleScreen(const QString& dialogClass, const QString& screen,
                                              const QString& form, const QString& formClass)
{
    SlGfwAreaConfig cfg;
    cfg.m_dialogClass = dialogClass;
    cfg.m_startScreen = screen;
    cfg.m_screens.append({screen, form, formClass, {}});
    return cfg;
}

bool SlGfwAreaConfig::parseSoftkey(const QString& key, const QString& value, const QString& where, Softkey& sk,
                                   bool& removed, QString& error) const
{
    static const QRegularExpression keyRe(QStringLiteral("^(myVr|myHu)([1-9][0-9]*)$"));
    const QRegularExpressionMatch m = keyRe.match(key);
    sk.menu = m.captured(1);
    sk.position = m.captured(2).toInt();
    if (sk.position < 1 || sk.position > kMenuSize) {
        error = QStringLiteral("%1: soft key position %2 of %3 is outside 1 to %4")
                    .arg(where).arg(sk.position).arg(sk.menu).arg(kMenuSize);
        return false;
    }
    removed = value.compare(QLatin1String("none"), Qt::CaseInsensitive) == 0;
    if (removed)
        return true;
    QList<QPair<QString, QString>> settings;
    if (!SlGfwIniFile::splitSettings(value, settings, error)) {
        error = QStringLiteral("%1: %2").arg(where, error);
        return false;
    }
    for (const auto& s : settings) {
        const QString name = s.first.toLower();
        if (name == QLatin1String("text")) {
            sk.text = QString(s.second).replace(QLatin1String("\\n"), QLatin1String("\n"));
        } else if (name == QLatin1String("action")) {
            sk.action = s.second;
        } else if (name == QLatin1String("screen")) {
            sk.screen = s.second;
        } else if (name == QLatin1String("args")) {
            sk.args = s.second;
        } else if (name == QLatin1String("enabled")) {
            const QString v = s.second.toLower();
            if (v != QLatin1String("true") && v != QLatin1String("false")) {
                error = QStringLiteral("%1: enabled must be true or false, not '%2'").arg(where, s.second);
                return false;
            }
            sk.enabled = v == QLatin1String("true");
        } else {
            error = QStringLiteral("%1: unknown soft key setting '%2' (known: text, action, screen, args, enabled)")
                        .arg(where, s.first);
            return false;
        }
    }
    if (sk.action.isEmpty() && sk.screen.isEmpty()) {
        error = QStringLiteral("%1: soft key %2 %3 has neither action nor screen").arg(where, sk.menu).arg(sk.position);
        return false;
    }
    // A link key still needs a name by which scripts can press it.
    if (sk.action.isEmpty())
        sk.action = sk.screen;
    return true;
}

bool SlGfwAreaConfig::build(const SlGfwIniFile& ini, QString& error)
{
    m_dialogClass.clear();
    m_startScreen.clear();
    m_screens.clear();
    const QString file = ini.fileName().isEmpty() ? QStringLiteral("area configuration") : ini.fileName();
    auto at = [&file](int line) { return QStringLiteral("%1:%2").arg(file).arg(line); };
    static const QRegularExpression softkeyKey(QStringLiteral("^(myVr|myHu)[0-9]+$"));

    const SlGfwIniFile::Section* dialog = ini.section(QStringLiteral("dialog"));
    if (!dialog) {
        error = QStringLiteral("%1: no [dialog] section").arg(file);
        return false;
    }
    QList<Softkey> shared;
    for (const SlGfwIniFile::Entry& e : dialog->entries) {
        if (e.key.compare(QLatin1String("class"), Qt::CaseInsensitive) == 0) {
            m_dialogClass = e.value;
        } else if (e.key.compare(QLatin1String("startScreen"), Qt::CaseInsensitive) == 0) {
            m_startScreen = e.value;
        } else if (softkeyKey.match(e.key).hasMatch()) {
            Softkey sk;
            bool removed = false;
            if (!parseSoftkey(e.key, e.value, at(e.line), sk, removed, error))
                return false;
            if (!removed)
                shared.append(sk);
        } else {
            error = QStringLiteral("%1: unknown key '%2' in [dialog]").arg(at(e.line), e.key);
            return false;
        }
    }
    if (m_dialogClass.isEmpty()) {
        error = QStringLiteral("%1: [dialog] names no class").arg(at(dialog->line));
        return false;
    }

    for (const SlGfwIniFile::Section& s : ini.sections()) {
        if (&s == dialog)
            continue;
        if (!s.name.startsWith(QLatin1String("screen "), Qt::CaseInsensitive)) {
            error = QStringLiteral("%1: unknown section [%2]; expected [dialog] or [screen NAME]").arg(at(s.line), s.name);
            return false;
        }
        Screen screen;
        screen.name = s.name.mid(7).trimmed();
        if (screen.name.isEmpty() || this->screen(screen.name)) {
            error = QStringLiteral("%1: screen name '%2' is empty or used twice").arg(at(s.line), screen.name);
            return false;
        }
        QList<Softkey> own;
        QList<QPair<QString, int>> removedKeys;
        bool withShared = true;
        for (const SlGfwIniFile::Entry& e : s.entries) {
            if (e.key.compare(QLatin1String("shared"), Qt::CaseInsensitive) == 0) {
                const QString v = e.value.toLower();
                if (v != QLatin1String("true") && v != QLatin1String("false")) {
                    error = QStringLiteral("%1: shared must be true or false, not '%2'").arg(at(e.line), e.value);
                    return false;
                }
                withShared = v == QLatin1String("true");
            } else if (e.key.compare(QLatin1String("form"), Qt::CaseInsensitive) == 0) {
                screen.form = e.value;
            } else if (e.key.compare(QLatin1String("class"), Qt::CaseInsensitive) == 0) {
                screen.formClass = e.value;
            } else if (softkeyKey.match(e.key).hasMatch()) {
                Softkey sk;
                bool removed = false;
                if (!parseSoftkey(e.key, e.value, at(e.line), sk, removed, error))
                    return false;
                if (removed)
                    removedKeys.append({sk.menu, sk.position});
                else
                    own.append(sk);
            } else {
                error = QStringLiteral("%1: unknown key '%2' in [%3]").arg(at(e.line), e.key, s.name);
                return false;
            }
        }
        if (screen.form.isEmpty() || screen.formClass.isEmpty()) {
            error = QStringLiteral("%1: screen %2 needs both form and class").arg(at(s.line), screen.name);
            return false;
        }
        // One form may lie on several screens, but then it is one object of
        // one class; two classes under one name would make formRef ambiguous.
        const QString known = formClass(screen.form);
        if (!known.isEmpty() && known != screen.formClass) {
            error = QStringLiteral("%1: form %2 is of class %3 on another screen, %4 here")
                        .arg(at(s.line), screen.form, known, screen.formClass);
            return false;
        }
        for (const Softkey& sk : withShared ? shared : QList<Softkey>()) {
            bool replaced = removedKeys.contains({sk.menu, sk.position});
            for (const Softkey& o : own)
                replaced = replaced || (o.menu == sk.menu && o.position == sk.position);
            if (!replaced)
                screen.softkeys.append(sk);
        }
        for (const Softkey& o : own) {
            for (const Softkey& prev : screen.softkeys) {
                if (prev.menu == o.menu && prev.position == o.position) {
                    error = QStringLiteral("%1: screen %2 defines %3%4 twice").arg(at(s.line), screen.name, o.menu).arg(o.position);
                    return false;
                }
            }
            screen.softkeys.append(o);
        }
        m_screens.append(screen);
    }
    if (m_screens.isEmpty()) {
        error = QStringLiteral("%1: no [screen NAME] section").arg(file);
        return false;
    }
    if (m_startScreen.isEmpty())
        m_startScreen = m_screens.first().name;
    if (!screen(m_startScreen)) {
        error = QStringLiteral("%1: start screen %2 is not defined").arg(file, m_startScreen);
        return false;
    }
    for (const Screen& s : m_screens) {
        for (const Softkey& sk : s.softkeys) {
            if (!sk.screen.isEmpty() && !screen(sk.screen)) {
                error = QStringLiteral("%1: soft key %2%3 of screen %4 links to unknown screen %5")
                            .arg(file, sk.menu).arg(sk.position).arg(s.name, sk.screen);
                return false;
            }
        }
    }
    return true;
}
