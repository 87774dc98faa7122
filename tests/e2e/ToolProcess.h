// The project's programs as the end-to-end tests run them: the shared child-process support, and
// programs found in the build directory.
#ifndef GPSDR_TESTS_E2E_TOOLPROCESS_H
#define GPSDR_TESTS_E2E_TOOLPROCESS_H

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tools/common/ChildProcess.h"
#include "tools/common/JsonFields.h"

namespace tooltest {

using namespace childproc;

inline std::string BuildPath(const std::string& program)
{
    const char* dir = std::getenv("GPSDR_BUILD_DIR");
    return std::string(dir ? dir : ".") + "/" + program;
}

// program: one of the build directory, or a path.
inline Child Spawn(const std::string& program, const std::vector<std::string>& args, const Io& io = {})
{
    return childproc::Spawn(program.find('/') == std::string::npos ? BuildPath(program) : program, args, io);
}

inline RunResult Run(const std::string& program, const std::vector<std::string>& args, const Io& io = {},
                     std::chrono::seconds limit = std::chrono::seconds(60))
{
    return childproc::Run(program.find('/') == std::string::npos ? BuildPath(program) : program, args, io, limit);
}

inline std::string ReadText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

inline size_t CountOf(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) ++n;
    return n;
}

}  // namespace tooltest

#endif
