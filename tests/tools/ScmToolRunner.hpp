#pragma once

// Runs the built scm program as a user would, in a temporary directory with a registry of its own.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "SCMVrexDataAdapter.hpp"
#include "support/TestRegistry.hpp"
#include "vrex/VrexTestSupport.hpp"

namespace scm_test {

struct ToolRun {
    int exitCode = -1;  // -1 when the program did not exit normally (a crash)
    std::string out;
    std::string err;
};

// Standard output: "" captures it into ToolRun::out; kClosedOutput closes it, kClosedPipe makes
// it a pipe nobody reads; any other text is a path it is written to (/dev/full).
inline const std::string kClosedOutput = "<closed>";
inline const std::string kClosedPipe = "<closed pipe>";

// How the program is started, beyond its arguments.
struct RunSetup {
    std::string input = "/dev/null";  // standard input: a path relative to the directory
    std::string output;
    std::vector<std::pair<std::string, std::string>> environment;  // set in the program's
    bool unprivileged = false;  // run as nobody (65534) when the tests run as the superuser
};

// In the child: standard output as `setup` wants it, or false.
inline bool redirectOutput(const RunSetup& setup, const std::string& captureFile) {
    int ends[2];
    if (setup.output == kClosedOutput) return close(1) == 0;
    if (setup.output == kClosedPipe) return pipe(ends) == 0 && close(ends[0]) == 0 && dup2(ends[1], 1) == 1;
    const std::string& target = setup.output.empty() ? captureFile : setup.output;
    const int out = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    return out >= 0 && dup2(out, 1) == 1;
}

// Runs `scm arguments...` with `directory` as working directory, as `setup` says.
inline ToolRun runScm(const std::vector<std::string>& arguments, const std::string& directory,
                      const RunSetup& setup) {
    const std::string outFile = directory + "/.scm-stdout";
    const std::string errFile = directory + "/.scm-stderr";
    vrex_test::writeBytes(outFile, "");
    const pid_t child = fork();
    if (child == 0) {
        const int in = chdir(directory.c_str()) == 0 ? open(setup.input.c_str(), O_RDONLY) : -1;
        const int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || err < 0 || !redirectOutput(setup, outFile) || dup2(in, 0) != 0 || dup2(err, 2) != 2) {
            _exit(127);
        }
        for (const auto& [name, value] : setup.environment) setenv(name.c_str(), value.c_str(), 1);
        if (setup.unprivileged && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(127);
        std::vector<char*> argv{const_cast<char*>(SCM_TOOL)};
        for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(SCM_TOOL, argv.data());
        _exit(127);
    }
    int status = 0;
    const bool exited = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
    return {exited ? WEXITSTATUS(status) : -1, vrex_test::readBytes(outFile), vrex_test::readBytes(errFile)};
}

inline std::string example(const std::string& name) { return std::string(SCM_EXAMPLES) + "/" + name; }

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

inline std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// A manifest line of a utility named `name`.
inline std::string utilityLine(const std::string& name) {
    return "{\"identity\": {\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"" + name +
           "\"}, \"data\": {\"class\": \"BasicUtilityData\", \"Name\": \"" + name +
           "\", \"Identifier\": \"" + name + "\"}}";
}

// Stands for the sandbox's registry among the arguments of ToolSandbox::scm.
inline const std::string kRegistry = "{registry}";

// A temporary directory holding a registry (on the selected driver), where scm runs.
class ToolSandbox {
public:
    ToolRun scm(std::vector<std::string> arguments, const RunSetup& setup = RunSetup()) {
        for (std::string& argument : arguments) argument = argument == kRegistry ? registry() : argument;
        return runScm(arguments, dir_.path().string(), setup);
    }
    ToolRun registerExamples(const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments{"register", kRegistry, example("model_a.jsonl"),
                                           example("model_b.jsonl"), example("model_c.jsonl")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return scm(arguments);
    }
    void writeManifest(const std::string& name, const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines) text += line + "\n";
        vrex_test::writeBytes(file(name), text);
    }
    std::string file(const std::string& name) const { return dir_.file(name); }
    const std::string& registry() const { return registry_.location(); }
    // The registry as the tool prints it: a URI without its password.
    std::string printedRegistry() const { return SCM::getPrintableRegistryName(registry()); }

    vrex_test::TempDir dir_;
    TestRegistry registry_{dir_.file("registry.scm")};
};

}  // namespace scm_test
