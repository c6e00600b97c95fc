// A definition file of global user data as an integrator or a program may
// leave it on the NC: whatever it holds, every line is read, each error has
// a line and a text, and each variable a name, a known type and initial
// values of that type.
#include "GudDefinitionFile.h"

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), int(size));
    QList<GudDefinitionFile::Variable> variables;
    QList<GudDefinitionFile::Error> errors;
    GudDefinitionFile::parse(text, variables, errors);
    const int lines = text.count(QLatin1Char('\n')) + 1;
    for (const auto& e : errors)
        FUZZ_CHECK(e.line >= 1 && e.line <= lines && !e.text.isEmpty(), text);
    for (const auto& v : variables) {
        FUZZ_CHECK(!v.name.isEmpty() && v.name == v.name.toUpper(), v.name);
        FUZZ_CHECK(v.type == QMetaType::Int || v.type == QMetaType::Double || v.type == QMetaType::Bool
                       || v.type == QMetaType::QString,
                   v.name);
        FUZZ_CHECK(v.size >= 0 && v.stringLength >= 0 && v.line >= 1 && v.line <= lines, v.name);
        FUZZ_CHECK(v.init.size() <= qMax(1, v.size), v.name);
        for (const QVariant& value : v.init)
            FUZZ_CHECK(GudDefinitionFile::convert(v.type, value).isValid(), v.name);
        FUZZ_CHECK(!GudDefinitionFile::typeName(v).isEmpty(), v.name);
    }
    GudDefinitionFile::blockOfFile(text.left(64));
    return 0;
}
