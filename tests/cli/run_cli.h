// Runs the built `tagvera` command in a child process with extra environment, and collects its
// exit status, stdout and stderr; `under` is a program (a tracer) that runs it, with its arguments.
// Other programs (the readers that check our output) run through the shell.
#ifndef TAGVERA_TESTS_CLI_RUN_CLI_H
#define TAGVERA_TESTS_CLI_RUN_CLI_H

#include <cstdio>
#include <map>
#include <string>
#include <vector>

struct CliResult {
    int status = -1;
    std::string out;
    std::string err;
};

CliResult RunCli(const std::vector<std::string>& args, const std::map<std::string, std::string>& env = {},
                 const std::vector<std::string>& under = {});

// A shell command's standard output, and its exit status (as pclose gives it) when asked.
inline std::string CommandOutput(const std::string& command, int* status = nullptr) {
    std::string out;
    FILE* p = ::popen(command.c_str(), "r");
    if (!p) return out;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, p)) > 0;) out.append(buffer, n);
    const int exit = ::pclose(p);
    if (status) *status = exit;
    return out;
}

#endif
