// The image benchmark's two in-process readers, each over every file named:
//   interrogate: the importer as a host drives it (create, SetFilename, Interrogate, release);
//   exiv2: the least exiv2 program reading the same facts (size and the table's EXIF items).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop

#include <cstdio>
#include <cstring>
#include <string>

#include "image/exif_table.h"
#include "image/image_importer.h"
#include "tagvera/com_ptr.h"

namespace {

using namespace tagvera;

int Interrogate(int count, char** files) {
    int failed = 0;
    for (int i = 0; i < count; ++i) {
        ComPtr<IUnknown> unknown;
        if (Failed(CreateImageMetadataPlugin(nullptr, nullptr, unknown.put()))) return 2;
        auto importer = QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
        ComPtr<IMPAMetaProperty> tree;
        if (Failed(importer->SetFilename(files[i])) || Failed(importer->Interrogate(tree.put()))) ++failed;
    }
    return failed == 0 ? 0 : 1;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
int Exiv2Read(int count, char** files) {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    int failed = 0;
    unsigned long sum = 0;  // keeps the reads from being optimised away
    for (int i = 0; i < count; ++i) {
        try {
            Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(files[i]);
            image->readMetadata();
            sum += image->pixelWidth() + image->pixelHeight();
            for (const auto& datum : image->exifData())
                if (image::FindExifRow(datum.tag())) sum += datum.size();
        } catch (const std::exception&) {
            ++failed;
        }
    }
    std::printf("%lu\n", sum);
    return failed == 0 ? 0 : 1;
}
#pragma GCC diagnostic pop

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "interrogate") == 0) return Interrogate(argc - 2, argv + 2);
    if (argc >= 2 && std::strcmp(argv[1], "exiv2") == 0) return Exiv2Read(argc - 2, argv + 2);
    std::fprintf(stderr, "usage: bench_image interrogate|exiv2 FILE...\n");
    return 2;
}
