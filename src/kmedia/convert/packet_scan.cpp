#include "kmedia/convert/packet_scan.h"

#include <algorithm>

namespace tagvera::kmedia {

PacketScan::PacketScan(ByteSource& file, uint64_t dataOffset, const DataHeaderObject& data)
    : file_(file),
      begin_(dataOffset + DataHeaderObject::kHeaderSize),
      end_(dataOffset + data.header.size),
      count_(data.numPackets) {
    if (data.header.size < DataHeaderObject::kHeaderSize || end_ > file.size())
        throw Error(TV_E_FAIL, "DATA object does not fit the file");
}

void PacketScan::Require(uint64_t n) const {
    if (n > end_ - pos_) throw Error(TV_E_FAIL, "packet runs past the DATA object at " + std::to_string(pos_));
}

std::span<const uint8_t> PacketScan::Take(size_t n, size_t window) {
    Require(n);
    if (pos_ < chunkStart_ || pos_ + n > chunkStart_ + chunk_.size()) {
        chunkStart_ = pos_;
        chunk_.resize(static_cast<size_t>(std::min<uint64_t>(window, end_ - pos_)));
        if (file_.readAt(pos_, chunk_) != chunk_.size()) throw Error(TV_E_FAIL, "short read in DATA");
    }
    const auto out = std::span<const uint8_t>(chunk_).subspan(static_cast<size_t>(pos_ - chunkStart_), n);
    pos_ += n;
    return out;
}

void PacketScan::Walk(const std::function<void(const ScannedPacket&)>& visit, const Consumer* copyTo) {
    pos_ = begin_;
    chunk_.clear();
    for (uint32_t i = 0; i < count_; ++i) {
        if (pos_ >= end_)
            throw Error(TV_E_FAIL, "DATA claims " + std::to_string(count_) + " packets but holds " + std::to_string(i));
        ScannedPacket p;
        p.offset = pos_;
        const auto head = Take(PacketHeader::kSize, copyTo ? kChunk : kHeaderWindow);
        ByteReader in(head);
        p.header = PacketHeader::Read(in);
        if (p.header.version != 0)
            throw Error(TV_E_FAIL, "packet of version " + std::to_string(p.header.version) + " at " + std::to_string(p.offset));
        visit(p);
        if (copyTo) (*copyTo)(head);
        // The payload, chunk by chunk; passed over unread when nothing is copied.
        uint64_t left = p.header.length - PacketHeader::kSize;
        if (!copyTo) {
            Require(left);
            pos_ += left;
            left = 0;
        }
        while (left > 0) {
            const size_t n = static_cast<size_t>(std::min<uint64_t>(left, kChunk));
            const auto part = Take(n);
            if (copyTo) (*copyTo)(part);
            left -= n;
        }
    }
}

}  // namespace tagvera::kmedia
