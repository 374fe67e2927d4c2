// The editor on movies built byte by byte: damaged box trees, and where each kind of edit puts
// its bytes (free space used, a shrink left as free space, growth with chunk offsets moved).
#include <gtest/gtest.h>

#include <optional>

#include "mp4/item_table.h"
#include "mp4/movie_write.h"
#include "mp4_bytes.h"

namespace tagvera::mp4::testing {
namespace {

const Bytes kFtyp = Box("ftyp", Text("M4A ") + U32(0));
const Bytes kMdat = Box("mdat", Bytes(64, 0xAA));

CMp4Editor Load(const Bytes& file) {
    MemorySource source(file);
    CMp4Editor editor;
    editor.LoadMetadata(source);
    return editor;
}

Bytes Movie(const Bytes& children, uint32_t chunkOffset) { return Box("moov", Mvhd(1000, 1999) + Track(chunkOffset) + children); }
// ftyp, moov, mdat, the chunk offset pointing into mdat.
Bytes MovieFirst(const Bytes& children, const Bytes& between = {}) {
    const size_t moov = Movie(children, 0).size();
    return kFtyp + Movie(children, uint32_t(kFtyp.size() + moov + between.size() + 8)) + between + kMdat;
}
Bytes MovieLast(const Bytes& children) { return kFtyp + kMdat + Movie(children, uint32_t(kFtyp.size() + 8)); }

struct ReadRow {
    const char* name;
    Bytes file;
    std::string title;
    uint32_t durationMs;
    bool damaged;
};

Bytes Deep(int levels) { return levels ? Box("udta", Deep(levels - 1)) : Bytes{}; }
Bytes PastParent() {
    Bytes moov = Box("moov", Mvhd(1000, 3000) + Box("udta", Bytes(16)));
    moov[8 + 108 + 3] = 200;  // udta claims more than moov holds
    return kFtyp + moov;
}

TEST(Mp4Read, DamagedAndUnusualTrees) {
    const ReadRow rows[] = {
        {"LargeSizeBeforeMovie", U32(1) + Text("free") + U32(0) + U32(24) + Bytes(8) + Movie(Udta(Box("ilst", Title("T"))), 0),
         "T", 1000, false},
        {"TwoTitlesFirstWins", MovieFirst(Udta(Box("ilst", Title("A") + Title("B")))), "A", 1000, false},
        {"ChildPastParent", PastParent(), "", 3000, true},
        {"NoMovie", kFtyp + kMdat, "", 0, true},
        {"MovieCutShort", kFtyp + U32(1000) + Text("moov") + Bytes(12), "", 0, true},
        {"DeepNesting", kFtyp + Box("moov", Mvhd(1000, 2000) + Deep(40)), "", 2000, true},
        {"ZeroTimeScale", kFtyp + Box("moov", Mvhd(0, 5)), "", 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const CMp4Editor e = Load(row.file);
        EXPECT_EQ(e.GetItemText(kItemTitle).value_or(""), row.title);
        EXPECT_EQ(e.facts().durationMs, row.durationMs);
        EXPECT_EQ(!e.problem().empty(), row.damaged) << e.problem();
    }
}

TEST(Mp4Read, TrackNumberWrittenAsTextKeepsItsTotal) {
    CMp4Editor e = Load(MovieFirst(Udta(Box("ilst", Item("trkn", 0, {0, 0, 0, 5, 0, 12, 0, 0})))));
    EXPECT_EQ(e.GetItemInteger(kItemTrack), 5u);
    ASSERT_TRUE(e.SetItemText(kItemTrack, "7"));
    EXPECT_EQ(e.items()[0].data, (Bytes{0, 0, 0, 7, 0, 12, 0, 0}));
}

uint32_t FirstChunk(const CMp4Editor& e) {
    const Atom* stco = e.movie().children[1].find({FourCC("mdia"), FourCC("minf"), FourCC("stbl"), FourCC("stco")});
    const auto b = BytesOf(e.movieBytes(), e.movie().offset, *stco);
    return uint32_t(b[16]) << 24 | uint32_t(b[17]) << 16 | uint32_t(b[18]) << 8 | b[19];
}

Bytes Applied(const Bytes& file, const MovieWrite& w) {
    if (w.kind == MovieWrite::Kind::Rewrite)
        return Bytes(file.begin(), file.begin() + long(w.offset)) + w.bytes + Bytes(file.begin() + long(w.offset + w.oldSize), file.end());
    Bytes out = file;
    out.resize(std::max<size_t>(out.size(), w.offset + w.bytes.size()));
    std::copy(w.bytes.begin(), w.bytes.end(), out.begin() + long(w.offset));
    if (w.newLength) out.resize(*w.newLength);
    return out;
}

using Kind = MovieWrite::Kind;
struct WriteRow {
    const char* name;
    Bytes file;
    std::optional<std::string> title;  // set, or removed when absent
    std::optional<std::string> album;
    Kind kind;
    int64_t grows;        // file length and, where the media moves, its chunk offsets
    bool mediaMoves;
    uint64_t freeAfter;   // the size of the "free" box left in "meta"; 0 when not checked
};

TEST(Mp4Write, WhereEachEditGoes) {
    const Bytes abc = Box("ilst", Title("abc"));
    const std::string longer = "abcdefghij";  // 7 bytes more
    const WriteRow rows[] = {
        {"FreeAfterItemListTakesGrowth", MovieFirst(Udta(abc + Box("free", Bytes(72)))), longer, {}, Kind::InPlace, 0, false, 73},
        {"FreeBeforeItemListTakesGrowth", MovieFirst(Udta(Box("free", Bytes(72)) + abc)), longer, {}, Kind::InPlace, 0, false, 73},
        {"NoFreeMovieFirstMovesMedia", MovieFirst(Udta(abc)), longer, {}, Kind::Rewrite, 7 + 1024, true, 1024},
        {"TwoPendingItemsGrowOnce", MovieFirst(Udta(abc)), longer, "Al", Kind::Rewrite, 7 + 26 + 1024, true, 1024},
        {"NoUserDataGetsAnItemList", MovieFirst({}), longer, {}, Kind::Rewrite, 8 + 12 + 33 + 8 + 34 + 1024, true, 1024},
        {"MovieLastGrowsInPlace", MovieLast(Udta(abc)), longer, {}, Kind::InPlace, 7 + 1024, false, 1024},
        {"FreeAfterMovieTakesGrowth", MovieFirst(Udta(abc), Box("free", Bytes(92))), longer, {}, Kind::InPlace, 0, false, 0},
        {"RemovalLeavesFreeSpace", MovieFirst(Udta(Box("ilst", Title("sixteen chars...")))), {}, {}, Kind::InPlace, 0,
         false, 40},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CMp4Editor e = Load(row.file);
        const uint32_t chunk = FirstChunk(e);
        if (row.title) e.SetItemText(kItemTitle, *row.title);
        else e.RemoveItem(kItemTitle);
        if (row.album) e.SetItemText(kItemAlbum, *row.album);
        const MovieWrite w = PlanSave(e);
        EXPECT_EQ(w.kind, row.kind) << w.how;
        const Bytes written = Applied(row.file, w);
        EXPECT_EQ(int64_t(written.size()) - int64_t(row.file.size()), row.grows);
        const CMp4Editor after = Load(written);
        EXPECT_EQ(after.problem(), "");
        EXPECT_EQ(after.GetItemText(kItemTitle), row.title);
        EXPECT_EQ(after.GetItemText(kItemAlbum), row.album);
        EXPECT_EQ(FirstChunk(after), chunk + (row.mediaMoves ? row.grows : 0));
        const Atom* free = after.movie().find({FourCC("udta"), FourCC("meta"), FourCC("free")});
        if (row.freeAfter) {
            EXPECT_EQ(free ? free->size : 0, row.freeAfter);
        }
    }
}

TEST(Mp4Write, RefusesWhatItCannotEditSafely) {
    const Bytes fragmented = kFtyp + Box("moov", Mvhd(1000, 1) + Box("mvex", {}));
    const Bytes mdta = kFtyp + Box("moov", Mvhd(1000, 1) + Box("udta", FullBox("meta", Hdlr("mdta"))));
    for (const Bytes& file : {fragmented, mdta}) {
        CMp4Editor e = Load(file);
        e.SetItemText(kItemTitle, "x");
        EXPECT_THROW(PlanSave(e), Error);
    }
}

}  // namespace
}  // namespace tagvera::mp4::testing
