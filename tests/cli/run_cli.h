// Runs the built `tagvera` command in a child process with extra environment, and collects its
// exit status, stdout and stderr; `under` is a program (a tracer) that runs it, with its arguments.
#ifndef TAGVERA_TESTS_CLI_RUN_CLI_H
#define TAGVERA_TESTS_CLI_RUN_CLI_H

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

#endif
