// Points the library at a preferences file of the test's own while alive.
#ifndef TAGVERA_TESTS_MP3_IMPORTER_PREFERENCES_FILE_H
#define TAGVERA_TESTS_MP3_IMPORTER_PREFERENCES_FILE_H

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/scratch_dir.h"

namespace tagvera::testing {

class PreferencesFile {
public:
    // lines: "Name = type:value" lines under the preferences key; "" for the defaults.
    explicit PreferencesFile(const std::string& lines) {
        // A new path each time, so that the library reads every change; an old time stamp lets it
        // cache the file instead of reading it on every use (which a fault test would otherwise fail).
        path_ = dir_.file("preferences");
        test::WriteText(path_, "[Software\\KorvaNetworks\\KorvaJukebox\\1.0\\Preferences]\n" + lines);
        std::filesystem::last_write_time(path_, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        if (const char* old = std::getenv("TAGVERA_PREFERENCES")) previous_ = old, had_ = true;
        setenv("TAGVERA_PREFERENCES", path_.c_str(), 1);
    }
    ~PreferencesFile() {
        if (had_) setenv("TAGVERA_PREFERENCES", previous_.c_str(), 1);
        else unsetenv("TAGVERA_PREFERENCES");
    }
    PreferencesFile(const PreferencesFile&) = delete;
    PreferencesFile& operator=(const PreferencesFile&) = delete;

private:
    test::ScratchDir dir_;
    std::string path_, previous_;
    bool had_ = false;
};

// The "TagReadPriority" line for an order, or none (the default) for null.
inline std::string ReadPriority(const char* order) {
    return order ? std::string("TagReadPriority = string:\"") + order + "\"\n" : std::string();
}

}  // namespace tagvera::testing

#endif
