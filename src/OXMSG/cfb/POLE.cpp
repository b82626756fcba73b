// SPDX-License-Identifier: Apache-2.0
// The hard part is distrust: FAT and DIFAT chains cut at loops and the file's end, the
// directory walked with visited marks, and streams copied only within the input's budget.
#include "OXMSG/cfb/POLE.h"

#include <algorithm>

#include "platform/ByteReader.h"
#include "platform/ContainerSignatures.h"

namespace POLE {

namespace {

using qb::ByteReader;
using qb::Field;

constexpr size_t kHeaderSize = 512;
constexpr size_t kDirEntrySize = 128;

// The header, at the start of the file.
namespace header {
constexpr Field kSignature{0x00, 8};
constexpr Field kSectorShift{0x1E, 2};
constexpr Field kMiniSectorShift{0x20, 2};
constexpr Field kFATSectorCount{0x2C, 4};
constexpr Field kFirstDirectorySector{0x30, 4};
constexpr Field kMiniStreamCutoff{0x38, 4};
constexpr Field kFirstMiniFATSector{0x3C, 4};
constexpr Field kMiniFATSectorCount{0x40, 4};
constexpr Field kFirstDIFATSector{0x44, 4};
constexpr Field kDIFATSectorCount{0x48, 4};
constexpr Field kDIFAT{0x4C, 4 * 109};  // the first 109 FAT sectors
static_assert(kDIFAT.end() == kHeaderSize);
}  // namespace header

// One directory entry.
namespace entry {
constexpr Field kName{0x00, 64};       // UTF-16LE
constexpr Field kNameLength{0x40, 2};  // in bytes, the terminator included
constexpr Field kType{0x42, 1};
constexpr Field kLeftSibling{0x44, 4};
constexpr Field kRightSibling{0x48, 4};
constexpr Field kChild{0x4C, 4};
constexpr Field kStartSector{0x74, 4};
constexpr Field kSize{0x78, 4};  // the low 32 bits only
static_assert(kSize.end() <= kDirEntrySize);
}  // namespace entry

// A little-endian field of `b`; zero where it is cut off.
uint64_t numberAt(const qb::Bytes& b, Field f, size_t base = 0) {
    return ByteReader::uintLE(b, f, base).value_or(0);
}

}  // namespace

void Header::load(const qb::Bytes& b) {
    id = {};
    if (auto signature = ByteReader::field(b, header::kSignature))
        std::copy(signature->begin(), signature->end(), id.begin());
    b_shift = numberAt(b, header::kSectorShift);
    s_shift = numberAt(b, header::kMiniSectorShift);
    num_bat = numberAt(b, header::kFATSectorCount);
    dirent_start = numberAt(b, header::kFirstDirectorySector);
    threshold = numberAt(b, header::kMiniStreamCutoff);
    sbat_start = numberAt(b, header::kFirstMiniFATSector);
    num_sbat = numberAt(b, header::kMiniFATSectorCount);
    mbat_start = numberAt(b, header::kFirstDIFATSector);
    num_mbat = numberAt(b, header::kDIFATSectorCount);
    ByteReader difat(ByteReader::field(b, header::kDIFAT).value_or(qb::Bytes()));
    for (uint64_t& sector : bb_blocks)
        sector = difat.u32le().value_or(0);
}

bool Header::hasSignature() const {
    return id == qb::kCompoundFileSignature;
}

bool Header::valid() const {
    if (threshold != 4096) return false;
    if (num_bat == 0) return false;
    if (num_bat < 109 && num_mbat != 0) return false;
    if (s_shift > b_shift) return false;
    if (b_shift < 7 || b_shift > 30) return false;
    return threshold == 4096;
}

void AllocTable::load(const qb::Bytes& sectors) {
    data.clear();
    append(sectors);
}

void AllocTable::append(const qb::Bytes& sectors) {
    ByteReader in(sectors);
    while (auto next = in.u32le())
        data.push_back(*next);
}

std::vector<uint64_t> AllocTable::follow(uint64_t start) const {
    std::vector<uint64_t> chain;
    const uint64_t n = count();
    if (start >= n) return chain;
    auto ends = [&](uint64_t p) { return p == kEof || p == kBat || p == kMetaBat || p >= n; };
    // A chain longer than the table must visit some sector twice. Only then is it walked
    // again with marks, to cut it where it first loops back.
    for (uint64_t p = start; !ends(p); p = data[p]) {
        if (chain.size() >= n) {
            chain.clear();
            std::vector<bool> seen(n, false);
            for (uint64_t q = start; !ends(q) && !seen[q]; q = data[q]) {
                seen[q] = true;
                chain.push_back(q);
            }
            break;
        }
        chain.push_back(p);
    }
    return chain;
}

int DirEntry::compare(std::string_view other) const {
    if (name.size() != other.size()) return name.size() < other.size() ? -1 : 1;
    for (size_t i = 0; i < name.size(); ++i) {
        const auto a = static_cast<unsigned char>(name[i]),
                   b = static_cast<unsigned char>(other[i]);
        if (a != b) return a < b ? -1 : 1;
    }
    return 0;
}

void DirTree::load(const qb::Bytes& directory) {
    entries_.clear();
    ByteReader in(directory);
    entries_.reserve(size_t(in.fitCount(UINT64_MAX, kDirEntrySize)));
    while (auto p = in.take(kDirEntrySize)) {
        DirEntry e;
        const uint64_t nameBytes = numberAt(*p, entry::kNameLength);
        // The low byte of each UTF-16 unit, up to the first zero.
        const qb::Bytes name =
            p->slice(0, size_t(std::min<uint64_t>(nameBytes, entry::kName.size)));
        for (size_t j = 0; j < name.size(); j += 2) {
            const uint8_t low = ByteReader::u8(name, j).value_or(0);
            if (low == 0) break;
            e.name += static_cast<char>(low);
        }
        // Names led by a control character (property-set streams) lose it.
        if (ByteReader::u8(*p, entry::kName.offset).value_or(0) < 32 && !e.name.empty())
            e.name.erase(0, 1);
        const uint64_t type = numberAt(*p, entry::kType);
        e.dir = type != 2;
        e.valid = (type == 1 || type == 2 || type == 5) && nameBytes >= 1;
        e.prev = numberAt(*p, entry::kLeftSibling);
        e.next = numberAt(*p, entry::kRightSibling);
        e.child = numberAt(*p, entry::kChild);
        e.start = numberAt(*p, entry::kStartSector);
        e.size = numberAt(*p, entry::kSize);
        entries_.push_back(std::move(e));
    }
}

const DirEntry* DirTree::entry(size_t index) const {
    return index < entries_.size() ? &entries_[index] : nullptr;
}

std::optional<size_t> DirTree::indexOf(const DirEntry* e) const {
    // Compared by address through std::less, which orders any two pointers.
    const std::less<const DirEntry*> before;
    if (entries_.empty() || before(e, &entries_.front()) || before(&entries_.back(), e))
        return std::nullopt;
    // The distance in bytes, not pointer arithmetic: the index is then checked by indexing.
    const auto offset = reinterpret_cast<uintptr_t>(e) - reinterpret_cast<uintptr_t>(&entries_[0]);
    const size_t index = size_t(offset / sizeof(DirEntry));
    if (index < entries_.size() && &entries_[index] == e) return index;
    return std::nullopt;
}

std::optional<size_t> DirTree::indexOf(std::string_view path) const {
    if (path.empty()) return std::nullopt;
    if (entries_.empty()) return std::nullopt;
    if (path == "/") return 0;
    if (path.front() == '/') path.remove_prefix(1);
    size_t index = 0;
    size_t start = 0;
    for (;;) {
        const size_t slash = path.find('/', start);
        const std::string_view segment = path.substr(start, slash - start);
        index = find_child(index, segment);
        if (index == 0) return std::nullopt;
        if (slash == std::string_view::npos) break;
        start = slash + 1;
    }
    return index;
}

const DirEntry* DirTree::entry(std::string_view path) const {
    auto index = indexOf(path);
    return index ? &entries_[*index] : nullptr;
}

size_t DirTree::find_child(size_t index, std::string_view name) const {
    const DirEntry* e = entry(index);
    if (!e || !e->valid || e->child >= entries_.size()) return 0;
    return findSibling(size_t(e->child), name);
}

size_t DirTree::findSibling(size_t start, std::string_view name) const {
    const size_t count = entries_.size();
    // A search path visits each entry at most once; more steps mean a cycle.
    for (size_t i = start, steps = 0; i < count && steps <= count; ++steps) {
        const DirEntry& e = entries_[i];
        if (!e.valid) return 0;
        const int c = e.compare(name);
        if (c == 0) return i;
        const uint64_t link = c < 0 ? e.next : e.prev;
        if (link == 0 || link >= count) return 0;
        i = size_t(link);
    }
    return 0;
}

std::vector<size_t> DirTree::children(size_t index) const {
    std::vector<size_t> result;
    const DirEntry* e = entry(index);
    const size_t count = entries_.size();
    if (!e || !e->valid || e->child >= count) return result;
    // In-order walk with an explicit stack; a node is taken once, so cycles end.
    std::vector<bool> seen(count, false);
    std::vector<size_t> stack;
    uint64_t node = e->child;
    while (node < count || !stack.empty()) {
        while (node < count && !seen[size_t(node)]) {
            seen[size_t(node)] = true;
            stack.push_back(size_t(node));
            node = entries_[size_t(node)].prev;
        }
        if (stack.empty()) break;
        const size_t current = stack.back();
        stack.pop_back();
        result.push_back(current);
        node = entries_[current].next;
        if (node < count && seen[size_t(node)]) node = kAvail;
    }
    return result;
}

qb::Bytes StorageIO::bigBlock(uint64_t b) const {
    const uint64_t size = uint64_t(1) << header.b_shift;
    if (b >= data_.size() / size) return {};  // also keeps (b + 1) * size from overflowing
    return data_.slice(size_t((b + 1) * size), size_t(size));
}

qb::Bytes StorageIO::smallBlock(uint64_t s) const {
    const uint64_t small = uint64_t(1) << header.s_shift;
    const uint64_t big = uint64_t(1) << header.b_shift;
    if (s >= (uint64_t(1) << 40)) return {};
    const uint64_t pos = s * small;
    const uint64_t index = pos / big;
    if (index >= sb_blocks.size()) return {};
    return bigBlock(sb_blocks[size_t(index)]).slice(size_t(pos % big), size_t(small));
}

bool StorageIO::load() {
    result = OpenFailed;
    // A file shorter than the header reads as if padded with zeros.
    qb::Bytes headerBytes = data_.slice(0, kHeaderSize);
    if (headerBytes.size() < kHeaderSize) {
        std::vector<uint8_t> padded(kHeaderSize, 0);
        std::copy(headerBytes.begin(), headerBytes.end(), padded.begin());
        headerBytes = qb::Bytes::adopt(std::move(padded));
    }
    header.load(headerBytes);
    result = NotOLE;
    if (!header.hasSignature()) return false;
    result = BadOLE;
    if (!header.valid()) return false;

    const uint64_t bigSize = uint64_t(1) << header.b_shift;
    bbat.blockSize = bigSize;
    sbat.blockSize = uint64_t(1) << header.s_shift;

    // FAT sectors: the header's 109, then the DIFAT chain. No file holds more FAT sectors
    // than it has sectors, so a larger count is cut to that.
    const uint64_t fileBlocks = data_.size() / bigSize + 1;
    const size_t numBat = size_t(std::min(header.num_bat, fileBlocks));
    std::vector<uint64_t> blocks(numBat, 0);
    for (size_t i = 0; i < std::min<size_t>(109, numBat); ++i)
        blocks[i] = header.bb_blocks[i];
    if (header.num_bat >= 110 && header.num_mbat != 0) {
        size_t k = 109;
        uint64_t sector = header.mbat_start;
        std::vector<bool> seen(size_t(fileBlocks), false);
        for (uint64_t r = 0; r < header.num_mbat && k < numBat; ++r) {
            if (r > 0) sector = blocks[--k];  // the chain pointer stored last is overwritten
            if (sector >= fileBlocks || seen[size_t(sector)]) break;
            seen[size_t(sector)] = true;
            ByteReader words(bigBlock(sector));
            for (auto word = words.u32le(); word && k < numBat; word = words.u32le())
                blocks[k++] = *word;
        }
    }

    // Tables and the directory are read from the sectors of their chains; what a sector cut
    // short lacks reads as zeros, but never more than the file could address: entries past
    // that would only name sectors the file does not have.
    auto readChain = [&](const std::vector<uint64_t>& chain, AllocTable* table,
                         std::vector<uint8_t>* raw, uint64_t limit) {
        for (uint64_t b : chain) {
            const uint64_t have = table ? table->data.size() * 4 : raw->size();
            if (have >= limit) break;
            const qb::Bytes block = bigBlock(b);
            const size_t want = size_t(std::min<uint64_t>(bigSize, limit - have));
            std::vector<uint8_t> piece(want, 0);
            const qb::Bytes present = block.slice(0, want);
            std::copy(present.begin(), present.end(), piece.begin());
            if (raw) raw->insert(raw->end(), piece.begin(), piece.end());
            if (table) table->append(qb::Bytes::adopt(std::move(piece)));
        }
    };
    const uint64_t fileSize = data_.size();
    bbat.data.clear();
    readChain(blocks, &bbat, nullptr, (fileBlocks + 1) * 4);
    sbat.data.clear();
    readChain(bbat.follow(header.sbat_start), &sbat, nullptr, (fileSize / sbat.blockSize + 1) * 4);

    std::vector<uint8_t> directoryBytes;
    readChain(bbat.follow(header.dirent_start), nullptr, &directoryBytes, fileSize + kDirEntrySize);
    const qb::Bytes directory = qb::Bytes::adopt(std::move(directoryBytes));
    dirtree.load(directory);
    // The root entry's stream is the mini stream.
    if (auto start = ByteReader::uintLE(directory, entry::kStartSector))
        sb_blocks = bbat.follow(*start);

    result = Ok;
    opened = true;
    return true;
}

std::vector<uint64_t> StorageIO::streamChain(const DirEntry& e) const {
    return usesBigBlocks(e) ? bbat.follow(e.start) : sbat.follow(e.start);
}

uint64_t StorageIO::readStream(const DirEntry& e, const std::vector<uint64_t>& chain, uint64_t pos,
                               std::span<uint8_t> out) const {
    if (out.empty() || pos >= e.size) return 0;
    const uint64_t total = std::min<uint64_t>(out.size(), e.size - pos);
    const bool big = usesBigBlocks(e);
    const uint64_t blockSize = big ? bbat.blockSize : sbat.blockSize;
    uint64_t index = pos / blockSize;
    uint64_t offset = pos % blockSize;
    uint64_t delivered = 0;
    while (delivered < total && index < chain.size()) {
        const qb::Bytes block =
            big ? bigBlock(chain[size_t(index)]) : smallBlock(chain[size_t(index)]);
        const uint64_t n = std::min(blockSize - offset, total - delivered);
        // Bytes past the end of the input are not there to copy: they read as zeros.
        const qb::Bytes present = block.slice(size_t(offset), size_t(n));
        const std::span<uint8_t> piece = out.subspan(size_t(delivered), size_t(n));
        std::fill(std::copy(present.begin(), present.end(), piece.begin()), piece.end(), 0);
        delivered += n;
        offset = 0;
        ++index;
    }
    return delivered;
}

std::optional<qb::Bytes> StorageIO::streamData(const DirEntry& e) const {
    if (e.size == 0) return qb::Bytes::adopt({});
    const std::vector<uint64_t> chain = streamChain(e);
    if (chain.empty()) return qb::Bytes::adopt({});
    const bool big = usesBigBlocks(e);
    const uint64_t blockSize = big ? bbat.blockSize : sbat.blockSize;
    // A stream holds no more than its chain covers, nor more than the whole file.
    const uint64_t length = std::min<uint64_t>({e.size, chain.size() * blockSize, data_.size()});
    if (big) {
        // Sectors in one run: hand out a window onto the input instead of a copy.
        bool contiguous = true;
        for (size_t i = 1; i < chain.size() && contiguous; ++i)
            contiguous = chain[i] == chain[i - 1] + 1;
        const uint64_t start = (chain[0] + 1) * blockSize;
        if (contiguous && start <= data_.size() && length <= data_.size() - start)
            return *data_.sub(size_t(start), size_t(length));
    }
    if (!report_->spendMaterialised(length)) return std::nullopt;
    std::vector<uint8_t> out(static_cast<size_t>(length));
    out.resize(size_t(readStream(e, chain, 0, out)));
    return qb::Bytes::adopt(std::move(out));
}

bool Storage::open() {
    return io_->load();
}

std::vector<const DirEntry*> Storage::dirEntries(std::string_view path) const {
    std::vector<const DirEntry*> out;
    const DirTree* tree = dirTree();
    if (!tree) return out;
    auto index = tree->indexOf(path);
    if (!index || !tree->entry(*index)->dir) return out;
    for (size_t child : tree->children(*index))
        out.push_back(tree->entry(child));
    return out;
}

Stream::Stream(const Storage* storage, std::string_view path) : path_(path) {
    const DirTree* tree = storage ? storage->dirTree() : nullptr;
    if (!tree || path.empty()) return;
    const DirEntry* e = tree->entry(path);
    if (!e || e->dir) return;
    io_ = &storage->io();
    entry_ = e;
    chain_ = io_->streamChain(*e);
}

uint64_t Stream::read(std::span<uint8_t> out) {
    if (fail()) return 0;
    const uint64_t n = io_->readStream(*entry_, chain_, pos_, out);
    pos_ += n;
    return n;
}

int Stream::getch() {
    if (fail() || pos_ >= size()) return -1;
    if (cache_.empty() || pos_ < cacheStart_ || pos_ >= cacheStart_ + cache_.size()) {
        cacheStart_ = pos_ - pos_ % 4096;
        cache_.resize(size_t(std::min<uint64_t>(4096, size() - cacheStart_)));
        cache_.resize(size_t(io_->readStream(*entry_, chain_, cacheStart_, cache_)));
        if (cache_.empty()) return -1;
        if (pos_ >= cacheStart_ + cache_.size()) return -1;
    }
    return cache_[size_t(pos_++ - cacheStart_)];
}

}  // namespace POLE
