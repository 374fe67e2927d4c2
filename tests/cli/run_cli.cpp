#include "run_cli.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "platform/scratch_dir.h"

CliResult RunCli(const std::vector<std::string>& args, const std::map<std::string, std::string>& env,
                 const std::vector<std::string>& under) {
    char outPath[] = "/tmp/tagvera-cli-out-XXXXXX";
    char errPath[] = "/tmp/tagvera-cli-err-XXXXXX";
    const int outFd = mkstemp(outPath);
    const int errFd = mkstemp(errPath);
    if (outFd < 0 || errFd < 0) throw std::runtime_error("mkstemp failed");

    std::vector<std::string> argv(under);
    argv.push_back(TAGVERA_CLI_PATH);
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (auto& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);

    const pid_t pid = fork();
    if (pid == 0) {
        dup2(outFd, 1);
        dup2(errFd, 2);
        for (const auto& [k, v] : env) setenv(k.c_str(), v.c_str(), 1);
        execvp(cargv[0], cargv.data());
        _exit(127);
    }
    close(outFd);
    close(errFd);
    int status = 0;
    waitpid(pid, &status, 0);
    CliResult r;
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.out = tagvera::test::ReadText(outPath);
    r.err = tagvera::test::ReadText(errPath);
    std::remove(outPath);
    std::remove(errPath);
    return r;
}
