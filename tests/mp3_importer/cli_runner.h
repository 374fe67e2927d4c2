// Runs the built `tagvera` command and captures what it printed and how it ended.
#ifndef TAGVERA_TESTS_MP3_IMPORTER_CLI_RUNNER_H
#define TAGVERA_TESTS_MP3_IMPORTER_CLI_RUNNER_H

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/scratch_dir.h"

extern char** environ;

namespace tagvera::testing {

struct CliRun {
    int exitCode = -1;  // -1 when it did not exit normally (a signal: a crash)
    int signal = 0;
    std::string out;
    std::string err;
};

inline CliRun RunCli(const std::vector<std::string>& args) {
    test::ScratchDir dir;
    const std::string outPath = dir.file("out"), errPath = dir.file("err");
    std::vector<std::string> argv{TAGVERA_CLI_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> raw;
    for (auto& a : argv) raw.push_back(a.data());
    raw.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    CliRun run;
    const int spawned = posix_spawn(&pid, raw[0], &actions, nullptr, raw.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return run;
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
    run.out = test::ReadText(outPath);
    run.err = test::ReadText(errPath);
    return run;
}

}  // namespace tagvera::testing

#endif
