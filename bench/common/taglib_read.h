// The TagLib side of the format benchmarks: the least TagLib program reading the facts the
// importer gives (title, artist, album, genre, track, cover size, duration, bit rate, sample rate,
// channels) from every file named, with a format's File class and its way to the cover's size.
#ifndef TAGVERA_BENCH_COMMON_TAGLIB_READ_H
#define TAGVERA_BENCH_COMMON_TAGLIB_READ_H

#include <taglib/audioproperties.h>

#include <cstdio>

namespace tagvera::bench {

template <class File, class CoverBytes>
int TaglibRead(int count, char** files, CoverBytes coverBytes) {
    int failed = 0;
    unsigned long sum = 0;  // keeps the reads from being optimised away
    for (int i = 0; i < count; ++i) {
        File file(files[i], true, TagLib::AudioProperties::Average);
        if (!file.isValid()) {
            ++failed;
            continue;
        }
        const auto* tag = file.tag();
        sum += tag->title().size() + tag->artist().size() + tag->album().size() + tag->genre().size() + tag->track();
        sum += coverBytes(*tag);
        if (const auto* p = file.audioProperties())
            sum += unsigned(p->lengthInMilliseconds() + p->bitrate() + p->sampleRate() + p->channels());
    }
    std::printf("%lu\n", sum);
    return failed == 0 ? 0 : 1;
}

}  // namespace tagvera::bench

#endif
