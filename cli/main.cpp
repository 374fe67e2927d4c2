// tagvera: a host like any other, on the library's exported entry points.
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#endif

#include "cli/command.h"
#include "cli/command_registry.h"
#include "cli/result_words.h"
#include "host/library.h"
#include "host/wide_text.h"

namespace tagvera::cli {
namespace {

void PrintCommandUsage(std::ostream& os, const CommandSpec& spec) {
    os << "usage: tagvera " << spec.usage << '\n';
}

// After a mistake, the synopsis alone (the usage lines before the explanation, whose lines are
// indented by two spaces) and where the rest is: the explanation would bury the one line that says
// what was wrong.
void PrintCommandSynopsis(std::ostream& os, const CommandSpec& spec) {
    const std::string_view usage = spec.usage;
    const auto explains = [&](size_t line) {
        return usage.compare(line, 2, "  ") == 0 && line + 2 < usage.size() && usage[line + 2] != ' ';
    };
    size_t end = usage.find('\n');
    while (end != std::string_view::npos && !explains(end + 1)) end = usage.find('\n', end + 1);
    os << "usage: tagvera " << usage.substr(0, end) << '\n'
       << "(tagvera " << spec.name << " --help says more)\n";
}

void PrintHelp(std::ostream& os) {
    os << "usage: tagvera [--library PATH] [--verbose] COMMAND [ARGS...]\n"
          "       tagvera --help | --version\n"
          "\n"
          "Reads and writes the metadata of media files through the tagvera plug-in package.\n"
          "\n"
          "Commands:\n";
    size_t width = 0;
    for (const auto* c : CommandRegistry::Instance().All()) width = std::max(width, c->name.size());
    for (const auto* c : CommandRegistry::Instance().All())
        os << "  " << c->name << std::string(width - c->name.size() + 2, ' ') << c->summary << '\n';
    os << "\n"
          "Options:\n"
          "  --library PATH  the libtagvera to load (default: $TAGVERA_LIBRARY, else the installed one)\n"
          "  --verbose, -v   the library's result code after a failure's words\n"
          "  --help          this text; COMMAND --help for a command's own\n"
          "  --version       the command's version and the library's\n"
          "\n"
          "Exit status: 0 success, 1 a file or data error, 2 a usage error.\n";
}

int PrintVersion(CommandContext& ctx) {
    ctx.out << "tagvera " << TAGVERA_VERSION << '\n';
    try {
        const host::PluginDescription d = ctx.host().Describe();
        ctx.out << "library " << ctx.host().library().path() << ": package " << d.packageName << ", version "
                << d.version << ", " << d.componentCount << " components\n";
    } catch (const DataError& e) {
        ctx.err << "tagvera: " << e.file() << ": " << e.what() << '\n';
    }
    return kExitOk;
}

int Main(int argc, char** argv) {
    Args args(argv + 1, argv + argc);
    std::string libraryPath = host::Library::DefaultPath();
    size_t i = 0;
    // Global options come before the command.
    for (; i < args.size() && args[i].size() > 1 && args[i][0] == '-'; ++i) {
        const std::string& a = args[i];
        if (a == "--help" || a == "-h") {
            PrintHelp(std::cout);
            return kExitOk;
        }
        if (a == "--version") {
            CommandContext ctx(std::cout, std::cerr, libraryPath);
            return PrintVersion(ctx);
        }
        if (a == "--verbose" || a == "-v") {
            ShowResultCodes(true);
        } else if (a == "--library" && i + 1 < args.size()) {
            libraryPath = args[++i];
        } else if (a.rfind("--library=", 0) == 0) {
            libraryPath = a.substr(10);
        } else {
            std::cerr << "tagvera: unknown option " << a << "\n";
            PrintHelp(std::cerr);
            return kExitUsageError;
        }
    }
    if (i == args.size()) {
        std::cerr << "tagvera: no command given\n";
        PrintHelp(std::cerr);
        return kExitUsageError;
    }
    const std::string name = args[i];
    const CommandSpec* spec = name == "help" && i + 1 < args.size() ? CommandRegistry::Instance().Find(args[i + 1])
                                                                    : CommandRegistry::Instance().Find(name);
    if (name == "help") {
        if (spec) {
            PrintCommandUsage(std::cout, *spec);
        } else {
            PrintHelp(std::cout);
        }
        return kExitOk;
    }
    if (!spec) {
        std::cerr << "tagvera: unknown command \"" << name << "\"\n";
        PrintHelp(std::cerr);
        return kExitUsageError;
    }
    Args rest(args.begin() + static_cast<std::ptrdiff_t>(i) + 1, args.end());
    for (const auto& a : rest) {
        if (a == "--") break;
        if (a == "--help" || a == "-h") {
            PrintCommandUsage(std::cout, *spec);
            return kExitOk;
        }
    }

    CommandContext ctx(std::cout, std::cerr, libraryPath);
    try {
        return spec->run(ctx, rest);
    } catch (const UsageError& e) {
        std::cerr << "tagvera " << spec->name << ": " << e.what() << '\n';
        PrintCommandSynopsis(std::cerr, *spec);
        return kExitUsageError;
    } catch (const DataError& e) {
        std::cerr << "tagvera: " << e.file() << ": " << e.what() << '\n';
        return kExitDataError;
    } catch (const host::HostError& e) {
        std::cerr << "tagvera " << spec->name << ": " << e.what() << '\n';
        return kExitDataError;
    }
}

int MainGuarded(int argc, char** argv) {
    try {
        return Main(argc, argv);
    } catch (const std::exception& e) {
        std::cerr << "tagvera: " << e.what() << '\n';
        return kExitDataError;
    }
}

}  // namespace
}  // namespace tagvera::cli

#if defined(_WIN32)
// Windows hands the arguments over as UTF-16; the command and the library speak UTF-8, and so does
// the console once told to. Standard output is binary: a picture written there by `extract -o -`
// must not have its line feeds turned into CR LF.
int wmain(int argc, wchar_t** wideArgv) {
    std::vector<std::string> args;
    for (int i = 0; i < argc; ++i) args.push_back(tagvera::host::Utf8FromWide(wideArgv[i]));
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    ::SetConsoleOutputCP(CP_UTF8);
    ::_setmode(::_fileno(stdout), _O_BINARY);
    return tagvera::cli::MainGuarded(argc, argv.data());
}
#else
int main(int argc, char** argv) { return tagvera::cli::MainGuarded(argc, argv); }
#endif
