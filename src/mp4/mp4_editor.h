// CMp4Editor: the movie box of one MP4 file held in memory, what it says of the file (duration,
// bit rates, channels, picture size), and its item list as entries keyed by the item table's ids.
// Setters change the entries only; PlanSave works out the new movie box and how it reaches the
// file (movie_write.h). The editor never opens a file: the importer hands it a ByteSource.
#ifndef TAGVERA_MP4_MP4_EDITOR_H
#define TAGVERA_MP4_MP4_EDITOR_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/byte_source.h"
#include "mp4/atom_tree.h"

namespace tagvera::mp4 {

enum class ItemState : uint32_t { Loaded = 0, Remove = 1, Changed = 2 };

struct Mp4Atom {
    ItemState state = ItemState::Loaded;
    uint32_t dataType = 255;
    uint32_t atomType = 0;
    uint32_t locale = 0;
    std::vector<uint8_t> data;
};

struct MovieFacts {
    uint32_t durationMs = 0;  // whole seconds, as the movie header's time scale divides
    uint32_t maxBitrate = 0;
    uint32_t avgBitrate = 0;
    uint32_t channels = 0;
    uint32_t width = 0;  // of the first track with a picture size
    uint32_t height = 0;
    bool ipod = false;  // the video entry carries the iPod extension box
};

class CMp4Editor {
public:
    // Reads the top-level headers and the movie box; a file without one, or a damaged one, loads
    // as a file with no items (problem() says why). Throws only for an I/O failure.
    void LoadMetadata(ByteSource& file);
    void ResetAtoms();

    const MovieFacts& facts() const { return facts_; }
    const std::vector<Mp4Atom>& items() const { return items_; }
    const TopLevel& topLevel() const { return top_; }
    const Atom& movie() const { return movie_; }
    bool hasMovie() const { return !moov_.empty(); }
    std::span<const uint8_t> movieBytes() const { return moov_; }
    const std::string& problem() const { return problem_; }

    // Reads: nullopt when the item is absent or of another data type.
    std::optional<std::string> GetItemText(int id) const;      // UTF-8
    std::optional<uint32_t> GetItemInteger(int id) const;      // first 4 payload bytes, big-endian
    std::optional<std::span<const uint8_t>> GetItemIntegerBytes(int id) const;
    std::optional<std::span<const uint8_t>> GetItemImage(int id) const;  // JPEG or PNG

    // Writes to the entries; false where the operation refuses (unknown id, wrong data type).
    bool RemoveItem(int id);
    bool SetItemText(int id, std::string_view text);
    bool SetItemInteger(int id, int32_t value);
    bool SetItemIntegerBytes(int id, std::span<const uint8_t> bytes);
    bool SetItemImage(int id, std::span<const uint8_t> bytes);
    // Every item atom of the list goes, known or not (stripping the tags).
    void RemoveAllItems() { removeAll_ = true; }
    bool removeAll() const { return removeAll_; }

private:
    const Mp4Atom* Find(int id) const;
    Mp4Atom* FindOrAdd(int id, uint32_t newType);
    void ReadFacts(uint64_t fileSize);
    void ReadVideo(uint64_t fileSize);
    void ReadItems();

    TopLevel top_;
    std::vector<uint8_t> moov_;
    Atom movie_;
    MovieFacts facts_;
    std::vector<Mp4Atom> items_;
    std::string problem_;
    bool removeAll_ = false;
};

// The bytes an entry becomes in the item list.
std::vector<uint8_t> SerializeItem(const Mp4Atom& item);

}  // namespace tagvera::mp4

#endif
