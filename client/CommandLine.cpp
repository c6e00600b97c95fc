#include "CommandLine.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>

CommandLine::CommandLine(const std::vector<std::string>& words,
                         const std::set<std::string>& valueOptions,
                         const std::set<std::string>& flags)
{
    bool optionsEnded = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (!optionsEnded && word == "--") {
            optionsEnded = true;
            continue;
        }
        // A negative number is a value, not an option.
        if (optionsEnded || word.size() < 2 || word[0] != '-'
            || (word[1] != '-' && (std::isdigit(static_cast<unsigned char>(word[1])) || word[1] == '.'))) {
            m_positionals.push_back(word);
            continue;
        }
        std::string name = word;
        std::string value;
        bool inlineValue = false;
        const auto eq = word.find('=');
        if (word.rfind("--", 0) == 0 && eq != std::string::npos) {
            name = word.substr(0, eq);
            value = word.substr(eq + 1);
            inlineValue = true;
        }
        if (valueOptions.count(name)) {
            if (!inlineValue) {
                if (i + 1 >= words.size()) {
                    m_error = name + " needs a value";
                    return;
                }
                value = words[++i];
            }
            m_options[name] = value;
        } else if (flags.count(name) && !inlineValue) {
            m_options[name] = "1";
        } else {
            m_error = "unknown option " + name;
            return;
        }
    }
}

std::string CommandLine::Value(const std::string& option, const std::string& fallback) const
{
    const auto it = m_options.find(option);
    return it == m_options.end() ? fallback : it->second;
}

bool CommandLine::ToInt(const std::string& text, long long min, long long max, long long& value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const long long n = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || n < min || n > max)
        return false;
    value = n;
    return true;
}

bool CommandLine::ToDouble(const std::string& text, double& value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const double d = std::strtod(text.c_str(), &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(d))
        return false;
    value = d;
    return true;
}
