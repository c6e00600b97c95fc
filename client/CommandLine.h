#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <map>
#include <set>
#include <string>
#include <vector>

// The words of one command: options (--name value, or --flag) and
// positional arguments, in any order; "--" ends the options.
class CommandLine
{
public:
    CommandLine(const std::vector<std::string>& words, const std::set<std::string>& valueOptions,
                const std::set<std::string>& flags);

    bool Ok() const { return m_error.empty(); }
    const std::string& Error() const { return m_error; }

    bool Has(const std::string& option) const { return m_options.count(option) != 0; }
    std::string Value(const std::string& option, const std::string& fallback = "") const;
    const std::vector<std::string>& Positionals() const { return m_positionals; }

    static bool ToInt(const std::string& text, long long min, long long max, long long& value);
    static bool ToDouble(const std::string& text, double& value);

private:
    std::map<std::string, std::string> m_options;
    std::vector<std::string> m_positionals;
    std::string m_error;
};

#endif
