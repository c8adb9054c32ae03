#pragma once

// Runs the built scm program as a user would, in a temporary directory.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "vrex/VrexTestSupport.hpp"

namespace scm_test {

struct ToolRun {
    int exitCode = -1;  // -1 when the program did not exit normally (a crash)
    std::string out;
    std::string err;
};

// Runs `scm arguments...` with `directory` as working directory and standard input read from
// `input` (a path relative to it, or /dev/null).
inline ToolRun runScm(const std::vector<std::string>& arguments, const std::string& directory,
                      const std::string& input = "/dev/null") {
    const std::string outFile = directory + "/.scm-stdout";
    const std::string errFile = directory + "/.scm-stderr";
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(directory.c_str()) != 0) _exit(127);
        const int in = open(input.c_str(), O_RDONLY);
        const int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0) _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        std::vector<char*> argv{const_cast<char*>(SCM_TOOL)};
        for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(SCM_TOOL, argv.data());
        _exit(127);
    }
    ToolRun run;
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) {
        run.exitCode = WEXITSTATUS(status);
    }
    run.out = vrex_test::readBytes(outFile);
    run.err = vrex_test::readBytes(errFile);
    return run;
}

inline std::string example(const std::string& name) { return std::string(SCM_EXAMPLES) + "/" + name; }

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace scm_test
