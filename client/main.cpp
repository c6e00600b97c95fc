// harvel-client [--server HOST:PORT] [TLS options] COMMAND ...
// Exit codes: 0 the machine said yes, 1 it said no (its words on stderr),
// 2 a transport or usage error.

#include "CommandLine.h"
#include "NetClient.h"

#include <climits>
#include <iostream>

namespace {

const char kUsage[] =
    "usage: harvel-client [--server HOST:PORT] [--tls] [--ca FILE] [--cert FILE --key FILE]\n"
    "                     [--server-name NAME] [--timeout SECONDS] [--progress] COMMAND ...\n"
    "commands:\n"
    "  read-r INDEX COUNT             one value per line\n"
    "  write-r INDEX VALUE...\n"
    "  select PROGRAM\n"
    "  skip-position\n"
    "  message --type T --style S --text TEXT [--input-name NAME] [--id N]\n"
    "  machine-config\n"
    "  calibration\n"
    "  exists PATH                    yes or no\n"
    "  upload --type macro|program|report FILE\n"
    "  download PATH OUTFILE\n"
    "  request \"LINE\" [--name NAME]\n"
    "  watch [--journals DIR] [--logs DIR] [--count N]\n"
    "The default server is 127.0.0.1:8510. Exit codes: 0 yes, 1 no, 2 error.\n";

int Usage(const std::string& error)
{
    if (!error.empty())
        std::cerr << "harvel-client: " << error << "\n";
    std::cerr << kUsage;
    return NetClient::kFailed;
}

bool Positionals(const CommandLine& line, std::size_t min, std::size_t max, std::string& error)
{
    const std::size_t n = line.Positionals().size();
    if (n < min || n > max) {
        error = "wrong number of arguments";
        return false;
    }
    return true;
}

// The wire carries text as UTF-8; protobuf would refuse anything else only
// on the server's side, with an error that names nothing.
bool ValidUtf8(const std::string& text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        int more = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : (c & 0xF8) == 0xF0 ? 3 : -1;
        if (more < 0 || (more == 1 && c < 0xC2) || i + std::size_t(more) >= text.size() + (more ? 0 : 1))
            return false;
        const unsigned long first = more == 0 ? c : more == 1 ? (c & 0x1F) : more == 2 ? (c & 0x0F) : (c & 0x07);
        unsigned long code = first;
        for (int k = 1; k <= more; ++k) {
            const unsigned char d = static_cast<unsigned char>(text[i + std::size_t(k)]);
            if ((d & 0xC0) != 0x80)
                return false;
            code = (code << 6) | (d & 0x3F);
        }
        if ((more == 2 && (code < 0x800 || (code >= 0xD800 && code <= 0xDFFF)))
            || (more == 3 && (code < 0x10000 || code > 0x10FFFF)))
            return false;
        i += std::size_t(more) + 1;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    // Global options stand before the command.
    std::size_t at = 0;
    std::string server = "127.0.0.1:8510";
    NetClient::Tls tls;
    double timeout = 0;
    bool progress = false;
    while (at < words.size() && words[at].rfind("--", 0) == 0) {
        const std::string option = words[at];
        auto value = [&](std::string& out) {
            if (at + 1 >= words.size())
                return false;
            out = words[++at];
            return true;
        };
        std::string text;
        if (option == "--help" || option == "-h") {
            std::cout << kUsage;
            return 0;
        } else if (option == "--server") {
            if (!value(server))
                return Usage("--server needs HOST:PORT");
        } else if (option == "--tls") {
            tls.enabled = true;
        } else if (option == "--ca") {
            if (!value(tls.caFile))
                return Usage("--ca needs a file");
            tls.enabled = true;
        } else if (option == "--cert") {
            if (!value(tls.certFile))
                return Usage("--cert needs a file");
            tls.enabled = true;
        } else if (option == "--key") {
            if (!value(tls.keyFile))
                return Usage("--key needs a file");
            tls.enabled = true;
        } else if (option == "--server-name") {
            if (!value(tls.serverName))
                return Usage("--server-name needs a name");
        } else if (option == "--timeout") {
            if (!value(text) || !CommandLine::ToDouble(text, timeout) || timeout <= 0)
                return Usage("--timeout needs seconds");
        } else if (option == "--progress") {
            progress = true;
        } else {
            return Usage("unknown option " + option);
        }
        ++at;
    }
    if (at >= words.size())
        return Usage("no command");
    const std::string command = words[at];
    const std::vector<std::string> rest(words.begin() + long(at) + 1, words.end());

    std::set<std::string> values;
    std::set<std::string> flags;
    if (command == "message")
        values = {"--type", "--style", "--text", "--input-name", "--id"};
    else if (command == "upload")
        values = {"--type"};
    else if (command == "request")
        values = {"--name"};
    else if (command == "watch")
        values = {"--journals", "--logs", "--count"};
    const CommandLine line(rest, values, flags);
    if (!line.Ok())
        return Usage(line.Error());
    const std::vector<std::string>& args = line.Positionals();
    std::string error;

    // What goes to the machine as text; local file names stay here.
    std::vector<std::string> sent;
    if (command == "select" || command == "exists" || command == "request"
        || (command == "download" && !args.empty()))
        sent.push_back(args.empty() ? std::string() : args[0]);
    for (const char* option : {"--text", "--input-name", "--name"})
        if (command != "watch" && line.Has(option))
            sent.push_back(line.Value(option));
    for (const std::string& text : sent)
        if (!ValidUtf8(text)) {
            std::cerr << "harvel-client: not valid UTF-8, which the machine cannot take: " << text << "\n";
            return NetClient::kFailed;
        }

    // Arguments are checked before anything goes on the wire.
    long long index = 0, count = 0;
    std::vector<double> numbers;
    if (command == "read-r") {
        if (!Positionals(line, 2, 2, error) || !CommandLine::ToInt(args[0], INT_MIN, INT_MAX, index)
            || !CommandLine::ToInt(args[1], INT_MIN, INT_MAX, count))
            return Usage(error.empty() ? "read-r needs INDEX COUNT as integers" : error);
    } else if (command == "write-r") {
        if (!Positionals(line, 2, SIZE_MAX, error)
            || !CommandLine::ToInt(args[0], INT_MIN, INT_MAX, index))
            return Usage(error.empty() ? "write-r needs INDEX VALUE..." : error);
        for (std::size_t i = 1; i < args.size(); ++i) {
            double v = 0;
            if (!CommandLine::ToDouble(args[i], v))
                return Usage("not a number: " + args[i]);
            numbers.push_back(v);
        }
    } else if (command == "select" || command == "exists") {
        if (!Positionals(line, 1, 1, error))
            return Usage(error);
    } else if (command == "skip-position" || command == "machine-config"
               || command == "calibration") {
        if (!Positionals(line, 0, 0, error))
            return Usage(error);
    } else if (command == "message") {
        long long type = 0, style = 0, id = 0;
        if (!Positionals(line, 0, 0, error) || !line.Has("--type") || !line.Has("--style")
            || !line.Has("--text") || !CommandLine::ToInt(line.Value("--type"), INT_MIN, INT_MAX, type)
            || !CommandLine::ToInt(line.Value("--style"), INT_MIN, INT_MAX, style)
            || !CommandLine::ToInt(line.Value("--id", "0"), 0, LLONG_MAX, id))
            return Usage("message needs --type T --style S --text TEXT as integers and text");
    } else if (command == "upload") {
        const std::string type = line.Value("--type");
        if (!Positionals(line, 1, 1, error)
            || !(type == "macro" || type == "program" || type == "report" || type == "0"
                 || type == "1" || type == "2"))
            return Usage("upload needs --type macro|program|report FILE");
    } else if (command == "download") {
        if (!Positionals(line, 2, 2, error))
            return Usage(error);
    } else if (command == "request") {
        if (!Positionals(line, 1, 1, error))
            return Usage(error);
    } else if (command == "watch") {
        if (!Positionals(line, 0, 0, error)
            || !CommandLine::ToInt(line.Value("--count", "0"), 0, LLONG_MAX, count))
            return Usage(error.empty() ? "--count needs a number" : error);
    } else {
        return Usage("unknown command " + command);
    }

    NetClient client(server, tls, timeout, progress);
    if (!client.Ok())
        return Usage(client.Error());

    if (command == "read-r")
        return client.ReadR(int(index), int(count));
    if (command == "write-r")
        return client.WriteR(int(index), numbers);
    if (command == "select")
        return client.Select(args[0]);
    if (command == "skip-position")
        return client.SkipPosition();
    if (command == "message") {
        long long type = 0, style = 0, id = 0;
        CommandLine::ToInt(line.Value("--type"), INT_MIN, INT_MAX, type);
        CommandLine::ToInt(line.Value("--style"), INT_MIN, INT_MAX, style);
        CommandLine::ToInt(line.Value("--id", "0"), 0, LLONG_MAX, id);
        return client.Message((unsigned long long)id, int(type), int(style), line.Value("--text"),
                              line.Value("--input-name"));
    }
    if (command == "machine-config")
        return client.MachineConfig();
    if (command == "calibration")
        return client.Calibration();
    if (command == "exists")
        return client.Exists(args[0]);
    if (command == "upload") {
        const std::string type = line.Value("--type");
        const int code = type == "macro" || type == "0" ? 0 : type == "program" || type == "1" ? 1 : 2;
        return client.Upload(code, args[0]);
    }
    if (command == "download")
        return client.Download(args[0], args[1]);
    if (command == "request")
        return client.Request(args[0], line.Value("--name"));
    return client.Watch(line.Value("--journals"), line.Value("--logs"), count);
}
