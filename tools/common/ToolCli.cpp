#include "tools/common/ToolCli.h"

#include <getopt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#ifndef GPSDR_VERSION
#error "the build defines GPSDR_VERSION, the project's version"
#endif

namespace {

// getopt_long values of the table's rows: row i is kFirstRow + i, clear of every short option.
const int kFirstRow = 256;
const ToolOption kHelp{'h', "help", nullptr, "print this help and exit"};
const ToolOption kVersion{'V', "version", nullptr, "print the version and exit"};

std::string Synopsis(const ToolOption& o, bool withShort)
{
    std::string text = withShort ? std::string("-") + static_cast<char>(o.id) + ", --" : "--";
    text += o.name;
    if (o.arg != nullptr) text += std::string(" ") + o.arg;
    return text;
}

std::string Row(const std::string& synopsis, size_t width, const char* help)
{
    std::string line = "  " + synopsis;
    line.append(width + 2 - std::min(width, synopsis.size()), ' ');
    return line + help + "\n";
}

}  // namespace

std::string ToolUsage(const ToolCommandLine& cli)
{
    size_t width = Synopsis(kVersion, true).size();
    for (const ToolOption& o : cli.options) width = std::max(width, Synopsis(o, false).size());

    std::string text = std::string("usage: ") + cli.name + " [options]";
    if (*cli.operands != '\0') text += std::string(" ") + cli.operands;
    text += std::string("\n") + cli.summary + "\n\nOptions:\n";
    for (const ToolOption& o : cli.options) text += Row(Synopsis(o, false), width, o.help);
    for (const ToolOption* o : {&kHelp, &kVersion}) text += Row(Synopsis(*o, true), width, o->help);
    if (*cli.details != '\0') text += std::string("\n") + cli.details;

    std::vector<ToolExitCode> exits = cli.exits;
    exits.push_back({kExitUsage, "bad option or value, named on standard error"});
    std::sort(exits.begin(), exits.end(), [](const ToolExitCode& a, const ToolExitCode& b) { return a.status < b.status; });
    text += "\nExit status:\n";
    for (const ToolExitCode& e : exits) text += "  " + std::to_string(e.status) + "  " + e.meaning + "\n";
    return text;
}

std::string ToolVersion(const char* name)
{
    return std::string(name) + " " + GPSDR_VERSION;
}

int ToolUsageError(const ToolCommandLine& cli, const std::string& what)
{
    std::fprintf(stderr, "%s: %s\nTry '%s --help' for the options.\n", cli.name, what.c_str(), cli.name);
    return kExitUsage;
}

int ToolFail(const char* name, const std::string& what, int status)
{
    std::fprintf(stderr, "%s: %s\n", name, what.c_str());
    return status;
}

int ParseToolCommandLine(const ToolCommandLine& cli, int argc, char** argv, const ToolOptionHandler& onOption,
                         const ToolOperandHandler& onOperand)
{
    std::vector<option> table;
    for (size_t i = 0; i < cli.options.size(); ++i) {
        const ToolOption& o = cli.options[i];
        table.push_back({o.name, o.arg ? required_argument : no_argument, nullptr, kFirstRow + static_cast<int>(i)});
    }
    for (const ToolOption* o : {&kHelp, &kVersion}) table.push_back({o->name, no_argument, nullptr, o->id});
    table.push_back({nullptr, 0, nullptr, 0});

    optind = 1;
    opterr = 0;  // the messages below name the option the way the help does
    for (;;) {
        int row = -1;
        const int got = getopt_long(argc, argv, ":hV", table.data(), &row);
        if (got == -1) break;
        const std::string given = argv[optind - 1];
        if (got == 'h') {
            std::fputs(ToolUsage(cli).c_str(), stdout);
            return kExitOk;
        }
        if (got == 'V') {
            std::printf("%s\n", ToolVersion(cli.name).c_str());
            return kExitOk;
        }
        if (got == ':') return ToolUsageError(cli, "option " + given + " needs a value");
        if (got == '?') {
            if (optopt >= kFirstRow) return ToolUsageError(cli, "option " + given + " takes no value");
            const std::string name = optopt != 0 ? std::string("-") + static_cast<char>(optopt) : given;
            return ToolUsageError(cli, "unknown option " + name);
        }
        const ToolOption& o = cli.options[static_cast<size_t>(got - kFirstRow)];
        std::string why;
        if (!onOption(o.id, optarg, why)) {
            std::string what = std::string("bad value for --") + o.name + ": '" + (optarg ? optarg : "") + "'";
            return ToolUsageError(cli, what + (why.empty() ? "" : " (" + why + ")"));
        }
    }
    for (int i = optind; i < argc; ++i) {
        std::string why;
        if (!onOperand(argv[i], why))
            return ToolUsageError(cli, std::string("unexpected argument '") + argv[i] + "'" + (why.empty() ? "" : " (" + why + ")"));
    }
    return -1;
}

bool ParseToolInt(const char* text, long long lo, long long hi, long long& out, int base)
{
    char* end = nullptr;
    const long long v = std::strtoll(text, &end, base);
    if (end == text || *end != '\0' || v < lo || v > hi) return false;
    out = v;
    return true;
}

bool ParseToolReal(const char* text, double lo, double hi, double& out)
{
    char* end = nullptr;
    const double v = std::strtod(text, &end);
    if (end == text || *end != '\0' || !(v >= lo && v <= hi)) return false;
    out = v;
    return true;
}
