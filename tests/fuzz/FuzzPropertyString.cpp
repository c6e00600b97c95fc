// The property text an opener hands to a screen: whatever it holds, the
// parse fails with a reason or gives entries numbered from 1, and the text
// written back from those entries parses to the same entries.
#include "SlGfwPropertyString.h"

#include "FuzzSupport.h"

namespace {
QString Write(const QList<SlGfwPropertyString::Entry>& entries)
{
    QStringList parts;
    for (const auto& e : entries)
        parts.append(QStringLiteral("-slgfwprop%1 %2.%3=%4").arg(e.number).arg(e.form, e.property, e.value));
    return parts.join(QLatin1Char(' '));
}

bool Same(const QList<SlGfwPropertyString::Entry>& a, const QList<SlGfwPropertyString::Entry>& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i)
        if (a[i].number != b[i].number || a[i].form != b[i].form || a[i].property != b[i].property
            || a[i].value != b[i].value)
            return false;
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), int(size));
    QList<SlGfwPropertyString::Entry> entries;
    QString error;
    if (!SlGfwPropertyString::parse(text, entries, error)) {
        FUZZ_CHECK(!error.isEmpty(), text);
        return 0;
    }
    for (int i = 0; i < entries.size(); ++i) {
        FUZZ_CHECK(entries[i].number == i + 1, text);
        FUZZ_CHECK(!entries[i].form.isEmpty() && !entries[i].property.isEmpty(), text);
    }
    QList<SlGfwPropertyString::Entry> again;
    const QString written = Write(entries);
    FUZZ_CHECK(SlGfwPropertyString::parse(written, again, error), written + " : " + error);
    FUZZ_CHECK(Same(entries, again), text + " -> " + written);
    return 0;
}
