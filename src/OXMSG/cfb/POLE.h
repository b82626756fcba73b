// SPDX-License-Identifier: Apache-2.0
// The compound-file reader at the bottom of the .msg path: sectors, allocation tables and the
// directory tree of an input held in memory. CFBEntry is the face the layers above use.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/ReadReport.h"

// An in-memory, read-only reader of compound files (OLE2 structured storage): header,
// allocation tables, directory tree, and stream contents. Every chain and tree walk is
// guarded against cycles and links out of range; nothing is read outside the input.
namespace POLE {

inline constexpr uint64_t kAvail = 0xFFFFFFFF;    // free sector, or "no link"
inline constexpr uint64_t kEof = 0xFFFFFFFE;      // end of a chain
inline constexpr uint64_t kBat = 0xFFFFFFFD;      // a FAT sector
inline constexpr uint64_t kMetaBat = 0xFFFFFFFC;  // a DIFAT sector

struct Header {
    std::array<uint8_t, 8> id{};
    uint64_t b_shift = 9;       // big-block (sector) size: 1 << b_shift
    uint64_t s_shift = 6;       // small-block size
    uint64_t num_bat = 0;       // FAT sectors
    uint64_t dirent_start = 0;  // first directory sector
    uint64_t threshold = 4096;  // streams below this live in the mini stream
    uint64_t sbat_start = 0;    // first mini FAT sector
    uint64_t num_sbat = 0;
    uint64_t mbat_start = 0;  // first DIFAT sector
    uint64_t num_mbat = 0;
    std::array<uint64_t, 109> bb_blocks{};

    // Reads the first 512 bytes of the file (zeros where the file is shorter).
    void load(const qb::Bytes& header);
    bool hasSignature() const;
    bool valid() const;
};

class AllocTable {
  public:
    uint64_t blockSize = 4096;
    std::vector<uint64_t> data;

    uint64_t count() const { return data.size(); }
    // The table's entries from whole 4-byte words of `sectors` (a trailing part word is
    // dropped).
    void load(const qb::Bytes& sectors);
    void append(const qb::Bytes& sectors);
    // The chain from `start`; it ends at a marker, a sector out of range, or a sector seen
    // before (a cycle).
    std::vector<uint64_t> follow(uint64_t start) const;
};

struct DirEntry {
    bool valid = false;
    std::string name;
    bool dir = false;
    uint64_t size = 0;
    uint64_t start = 0;
    uint64_t prev = kAvail;
    uint64_t next = kAvail;
    uint64_t child = kAvail;

    // Shorter names sort first; equal lengths compare bytes, case-sensitively.
    int compare(std::string_view other) const;
};

class DirTree {
  public:
    // The entries of the directory stream, one per whole 128 bytes.
    void load(const qb::Bytes& directory);
    size_t entryCount() const { return entries_.size(); }
    const DirEntry* entry(size_t index) const;
    // Where `e` stands among the entries; nothing when it is not one of them.
    std::optional<size_t> indexOf(const DirEntry* e) const;
    const DirEntry* entry(std::string_view path) const;
    std::optional<size_t> indexOf(std::string_view path) const;
    // Children of a storage in tree order (left subtree, node, right subtree).
    std::vector<size_t> children(size_t index) const;
    // Index of the direct child called `name`, 0 when there is none.
    size_t find_child(size_t index, std::string_view name) const;

  private:
    size_t findSibling(size_t start, std::string_view name) const;
    std::vector<DirEntry> entries_;
};

// Result codes of opening.
enum Result { Ok = 0, OpenFailed = 1, NotOLE = 2, BadOLE = 3 };

class StorageIO {
  public:
    // Copies of streams are charged to `report` (a new one for this input when null).
    explicit StorageIO(qb::Bytes data, std::shared_ptr<qb::ReadReport> report = nullptr)
        : data_(std::move(data)),
          report_(report ? std::move(report) : std::make_shared<qb::ReadReport>(data_.size())) {}

    bool load();
    int result = OpenFailed;
    bool opened = false;
    Header header;
    DirTree dirtree;
    AllocTable bbat, sbat;
    std::vector<uint64_t> sb_blocks;  // the big blocks that hold the mini stream

    const qb::Bytes& bytes() const { return data_; }
    // The chain that holds a stream: big blocks from the size threshold on, else small.
    std::vector<uint64_t> streamChain(const DirEntry& e) const;
    bool usesBigBlocks(const DirEntry& e) const { return e.size >= header.threshold; }
    // Copies up to `out.size()` bytes of the stream from `pos`; returns how many it delivered.
    uint64_t readStream(const DirEntry& e, const std::vector<uint64_t>& chain, uint64_t pos,
                        std::span<uint8_t> out) const;
    // The whole stream: a window onto the input when its sectors lie in one run, else a copy
    // charged to the report's budget; nothing when the copy would pass that budget (streams
    // that share sectors would otherwise cost many times the input).
    std::optional<qb::Bytes> streamData(const DirEntry& e) const;
    const std::shared_ptr<qb::ReadReport>& report() const { return report_; }

  private:
    // The bytes of big block `b` that exist in the input (may be short at the end).
    qb::Bytes bigBlock(uint64_t b) const;
    qb::Bytes smallBlock(uint64_t s) const;
    qb::Bytes data_;
    std::shared_ptr<qb::ReadReport> report_;
};

class Storage {
  public:
    explicit Storage(qb::Bytes data, std::shared_ptr<qb::ReadReport> report = nullptr)
        : io_(std::make_unique<StorageIO>(std::move(data), std::move(report))) {}

    // Loads the header, the allocation tables and the directory; read-only, always.
    bool open();
    int result() const { return io_->result; }
    const DirTree* dirTree() const { return io_->opened ? &io_->dirtree : nullptr; }
    std::vector<const DirEntry*> dirEntries(std::string_view path) const;
    const StorageIO& io() const { return *io_; }

  private:
    std::unique_ptr<StorageIO> io_;
};

class Stream {
  public:
    Stream(const Storage* storage, std::string_view path);

    bool fail() const { return entry_ == nullptr; }
    uint64_t size() const { return entry_ ? entry_->size : 0; }
    std::string path() const { return path_; }
    uint64_t tell() const { return pos_; }
    void seek(uint64_t pos) { pos_ = pos; }
    bool eof() const { return pos_ >= size(); }
    // Reads from the current position, which advances by what was delivered.
    uint64_t read(std::span<uint8_t> out);
    // The next byte, or -1 at the end.
    int getch();

  private:
    const StorageIO* io_ = nullptr;
    const DirEntry* entry_ = nullptr;
    std::string path_;
    std::vector<uint64_t> chain_;
    uint64_t pos_ = 0;
    std::vector<uint8_t> cache_;
    uint64_t cacheStart_ = 0;
};

}  // namespace POLE
