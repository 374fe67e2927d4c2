// The TagLib side of the MP3 reading benchmark: reads, for every file given (or every .mp3 below a
// folder), what `tagvera info` shows (title, artist, album, track, genre, comment, cover picture
// size, duration, bit rate, sample rate, channels) in one process, and prints one line per file.
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

void CollectFiles(const std::string& arg, std::vector<std::string>& files) {
    namespace fs = std::filesystem;
    if (fs::is_directory(arg)) {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(arg))
            if (entry.is_regular_file() && entry.path().extension() == ".mp3") found.push_back(entry.path().string());
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    } else {
        files.push_back(arg);
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) CollectFiles(argv[i], files);
    int failures = 0;
    for (const auto& path : files) {
        TagLib::MPEG::File file(path.c_str(), true, TagLib::AudioProperties::Average);
        if (!file.isValid()) {
            std::printf("%s\terror\n", path.c_str());
            ++failures;
            continue;
        }
        const TagLib::Tag* tag = file.tag();
        unsigned pictureBytes = 0;
        if (TagLib::ID3v2::Tag* v2 = file.ID3v2Tag()) {
            for (auto* frame : v2->frameList("APIC"))
                if (auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame))
                    pictureBytes += picture->picture().size();
        }
        const TagLib::MPEG::Properties* audio = file.audioProperties();
        std::printf("%s\t%s\t%s\t%s\t%u\t%s\t%s\t%u\t%d\t%d\t%d\t%d\n", path.c_str(),
                    tag->title().toCString(true), tag->artist().toCString(true), tag->album().toCString(true),
                    tag->track(), tag->genre().toCString(true), tag->comment().toCString(true), pictureBytes,
                    audio ? audio->lengthInMilliseconds() : 0, audio ? audio->bitrate() : 0,
                    audio ? audio->sampleRate() : 0, audio ? audio->channels() : 0);
    }
    return failures ? 1 : 0;
}
