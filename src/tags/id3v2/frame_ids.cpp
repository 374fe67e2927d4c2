#include "tags/id3v2/frame_ids.h"

#include <algorithm>
#include <array>

namespace tagvera::id3v2 {

bool IsValidFrameId(std::string_view id) {
    if (id.empty()) return false;
    return std::all_of(id.begin(), id.end(), [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

namespace {

struct IdPair {
    const char* v22;
    const char* v23;
};

// v2.2 ids and their later spelling; the last six are iTunes' sort and compilation frames.
constexpr std::array<IdPair, 69> kV22Ids{{
    {"BUF", "RBUF"}, {"CNT", "PCNT"}, {"COM", "COMM"}, {"CRA", "AENC"}, {"ETC", "ETCO"}, {"EQU", "EQUA"},
    {"GEO", "GEOB"}, {"IPL", "IPLS"}, {"LNK", "LINK"}, {"MCI", "MCDI"}, {"MLL", "MLLT"}, {"PIC", "APIC"},
    {"POP", "POPM"}, {"REV", "RVRB"}, {"RVA", "RVAD"}, {"SLT", "SYLT"}, {"STC", "SYTC"}, {"TAL", "TALB"},
    {"TBP", "TBPM"}, {"TCM", "TCOM"}, {"TCO", "TCON"}, {"TCR", "TCOP"}, {"TDA", "TDAT"}, {"TDY", "TDLY"},
    {"TEN", "TENC"}, {"TFT", "TFLT"}, {"TIM", "TIME"}, {"TKE", "TKEY"}, {"TLA", "TLAN"}, {"TLE", "TLEN"},
    {"TMT", "TMED"}, {"TOA", "TOPE"}, {"TOF", "TOFN"}, {"TOL", "TOLY"}, {"TOR", "TORY"}, {"TOT", "TOAL"},
    {"TP1", "TPE1"}, {"TP2", "TPE2"}, {"TP3", "TPE3"}, {"TP4", "TPE4"}, {"TPA", "TPOS"}, {"TPB", "TPUB"},
    {"TRC", "TSRC"}, {"TRD", "TRDA"}, {"TRK", "TRCK"}, {"TSI", "TSIZ"}, {"TSS", "TSSE"}, {"TT1", "TIT1"},
    {"TT2", "TIT2"}, {"TT3", "TIT3"}, {"TXT", "TEXT"}, {"TXX", "TXXX"}, {"TYE", "TYER"}, {"UFI", "UFID"},
    {"ULT", "USLT"}, {"WAF", "WOAF"}, {"WAR", "WOAR"}, {"WAS", "WOAS"}, {"WCM", "WCOM"}, {"WCP", "WCOP"},
    {"WPB", "WPUB"}, {"WXX", "WXXX"}, {"TCP", "TCMP"}, {"TST", "TSOT"}, {"TSP", "TSOP"}, {"TSA", "TSOA"},
    {"TS2", "TSO2"}, {"TSC", "TSOC"}, {"GP1", "GRP1"},
}};

constexpr std::array<const char*, 20> kV24Only{{
    "ASPI", "EQU2", "RVA2", "SEEK", "SIGN", "TDEN", "TDOR", "TDRC", "TDRL", "TDTG", "TIPL", "TMCL", "TMOO",
    "TPRO", "TSOA", "TSOP", "TSOT", "TSST", "GRP1", "MVNM",
}};

}  // namespace

std::string UpgradeV22Id(std::string_view id) {
    for (const auto& p : kV22Ids)
        if (id == p.v22) return p.v23;
    return {};
}

bool IsTextFrameId(std::string_view id) { return id.size() == 4 && id[0] == 'T' && id != "TXXX"; }
bool IsUrlFrameId(std::string_view id) { return id.size() == 4 && id[0] == 'W' && id != "WXXX"; }

bool IsV24OnlyId(std::string_view id) {
    return std::any_of(kV24Only.begin(), kV24Only.end(), [&](const char* v) { return id == v; });
}

}  // namespace tagvera::id3v2
