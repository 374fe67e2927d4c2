#include "image/exif_table.h"

namespace tagvera::image {

constexpr char kStatistics[] = "Statistics";

const std::array<ExifRow, 28> kExifRows = {{
    {0x010F, kExifAscii, kStatistics, "EquipmentMake"},
    {0x0110, kExifAscii, kStatistics, "EquipmentModel"},
    {0x0112, kExifShort, kStatistics, "Orientation"},
    {0x0132, kExifAscii, kStatistics, "DateTime"},
    {0x0128, kExifShort, kStatistics, "ResolutionUnit"},
    {0x0131, kExifAscii, kStatistics, "SoftwareUsed"},
    {0x0213, kExifShort, kStatistics, "YCbCrPositioning"},
    {0x829A, kExifRational, kStatistics, "ExposureTime"},
    {0x829D, kExifRational, kStatistics, "FNumber"},
    {0x8822, kExifShort, kStatistics, "ExposureProgram"},
    {0x9000, kExifUndefined, kStatistics, "Version"},
    {0x9003, kExifAscii, kStatistics, "DateTimeOriginal"},
    {0x9004, kExifAscii, kStatistics, "DateTimeDigitized"},
    {0x9101, kExifUndefined, kStatistics, "ComponentsConfiguration"},
    {0x9201, kExifSRational, kStatistics, "ShutterSpeed"},
    {0x9207, kExifShort, kStatistics, "MeteringMode"},
    {0x9209, kExifShort, kStatistics, "Flash"},
    {0x920A, kExifRational, kStatistics, "FocalLength"},
    {0x927C, kExifUndefined, kStatistics, "MakerNote"},
    {0xA000, kExifUndefined, kStatistics, "FlashpixVersion"},
    {0xA001, kExifShort, kStatistics, "ColorSpace"},
    {0xA002, kExifLong, kStatistics, "PixelXDimension"},
    {0xA003, kExifLong, kStatistics, "PixelYDimension"},
    {0xA300, kExifUndefined, kStatistics, "FileSource"},
    {0xA401, kExifUndefined, kStatistics, "CustomRendered"},
    {0xA402, kExifUndefined, kStatistics, "ExposureMode"},
    {0xA403, kExifUndefined, kStatistics, "WhiteBalance"},
    {0xA406, kExifUndefined, kStatistics, "SceneCaptureType"},
}};

const ExifRow* FindExifRow(uint32_t tag) {
    for (const auto& row : kExifRows)
        if (row.tag == tag) return &row;
    return nullptr;
}

}  // namespace tagvera::image
