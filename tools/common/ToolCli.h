// The command line of a tool: its options are one table, from which the parser, --help and the
// error messages are all made, so that they cannot disagree. Every tool answers -h/--help (usage
// on standard output, status 0) and -V/--version, names a bad option or value on standard error
// and ends with kExitUsage, and documents its exit statuses in its help.
#ifndef GPSDR_TOOLS_COMMON_TOOLCLI_H
#define GPSDR_TOOLS_COMMON_TOOLCLI_H

#include <functional>
#include <string>
#include <vector>

// Statuses shared by every tool; a tool lists its own meaning of 0 and 1 and any further ones.
enum ToolExit : int { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

struct ToolOption {
    int id;            // what the tool's handler is called with (its own enum)
    const char* name;  // long name without the dashes
    const char* arg;   // placeholder of the value ("FILE"), or nullptr for a switch
    const char* help;  // one line; ranges and the default in parentheses
};

struct ToolExitCode {
    int status;
    const char* meaning;
};

struct ToolCommandLine {
    const char* name;      // the program, as messages name it
    const char* operands;  // the synopsis after "[options]", e.g. "[INPUT]"; "" for none
    const char* summary;   // what the tool does, one line
    std::vector<ToolOption> options;
    const char* details;  // paragraphs after the options (operands, output, signals); may be ""
    std::vector<ToolExitCode> exits;  // kExitUsage is added by the library
};

// Applies one option (arg is null for a switch). False when the value is not acceptable; why may
// then say what is expected (the option and its value are named by the caller).
using ToolOptionHandler = std::function<bool(int id, const char* arg, std::string& why)>;
// Takes one operand; false when there is no room for it or it is not acceptable.
using ToolOperandHandler = std::function<bool(const char* operand, std::string& why)>;

// Parses argv. Returns -1 when the tool should run; otherwise the status main returns at once:
// kExitOk after --help or --version, kExitUsage after naming what was wrong.
int ParseToolCommandLine(const ToolCommandLine& cli, int argc, char** argv, const ToolOptionHandler& onOption,
                         const ToolOperandHandler& onOperand);

std::string ToolUsage(const ToolCommandLine& cli);
// "name VERSION": the project's version, the same for every tool.
std::string ToolVersion(const char* name);

// Names a command-line problem found after parsing (options that exclude each other ...) the way
// the parser does; returns kExitUsage.
int ToolUsageError(const ToolCommandLine& cli, const std::string& what);
// "name: what" on standard error; returns status.
int ToolFail(const char* name, const std::string& what, int status = kExitFailure);

// Whole numbers (in base) and reals for option values: the entire text, within [lo, hi].
bool ParseToolInt(const char* text, long long lo, long long hi, long long& out, int base = 10);
bool ParseToolReal(const char* text, double lo, double hi, double& out);

#endif
