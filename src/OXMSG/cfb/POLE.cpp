#include "OXMSG/cfb/POLE.h"

#include <algorithm>
#include <cstring>

#include "platform/ByteReader.h"

namespace POLE {

namespace {

constexpr uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr size_t kHeaderSize = 512;
constexpr size_t kDirEntrySize = 128;

uint64_t u16At(const uint8_t* p) {
    return uint64_t(p[0]) | uint64_t(p[1]) << 8;
}
uint64_t u32At(const uint8_t* p) {
    return uint64_t(p[0]) | uint64_t(p[1]) << 8 | uint64_t(p[2]) << 16 | uint64_t(p[3]) << 24;
}

}  // namespace

void Header::load(const uint8_t* b) {
    std::memcpy(id.data(), b, 8);
    b_shift = u16At(b + 0x1E);
    s_shift = u16At(b + 0x20);
    num_bat = u32At(b + 0x2C);
    dirent_start = u32At(b + 0x30);
    threshold = u32At(b + 0x38);
    sbat_start = u32At(b + 0x3C);
    num_sbat = u32At(b + 0x40);
    mbat_start = u32At(b + 0x44);
    num_mbat = u32At(b + 0x48);
    for (size_t i = 0; i < bb_blocks.size(); ++i)
        bb_blocks[i] = u32At(b + 0x4C + 4 * i);
    dirty = false;
}

bool Header::hasSignature() const {
    return std::memcmp(id.data(), kSignature, 8) == 0;
}

bool Header::valid() const {
    if (threshold != 4096) return false;
    if (num_bat == 0) return false;
    if (num_bat < 109 && num_mbat != 0) return false;
    if (s_shift > b_shift) return false;
    if (b_shift < 7 || b_shift > 30) return false;
    return threshold == 4096;
}

void AllocTable::load(const uint8_t* buffer, size_t length) {
    data.clear();
    append(buffer, length);
}

void AllocTable::append(const uint8_t* buffer, size_t length) {
    for (size_t i = 0; i + 4 <= length; i += 4)
        data.push_back(u32At(buffer + i));
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

void DirTree::load(const uint8_t* buffer, size_t length) {
    entries_.clear();
    const size_t count = length / kDirEntrySize;
    entries_.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* p = buffer + i * kDirEntrySize;
        DirEntry e;
        const size_t nameLength = std::min<uint64_t>(u16At(p + 0x40), 64);
        // The low byte of each UTF-16 unit, up to the first zero.
        for (size_t j = 0; j < nameLength && p[j] != 0; j += 2)
            e.name += static_cast<char>(p[j]);
        // Names led by a control character (property-set streams) lose it.
        if (p[0] < 32 && !e.name.empty()) e.name.erase(0, 1);
        const uint8_t type = p[0x42];
        e.dir = type != 2;
        e.valid = (type == 1 || type == 2 || type == 5) && u16At(p + 0x40) >= 1;
        e.prev = u32At(p + 0x44);
        e.next = u32At(p + 0x48);
        e.child = u32At(p + 0x4C);
        e.start = u32At(p + 0x74);
        e.size = u32At(p + 0x78);  // the low 32 bits only
        entries_.push_back(std::move(e));
    }
}

const DirEntry* DirTree::entry(size_t index) const {
    return index < entries_.size() ? &entries_[index] : nullptr;
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
    uint8_t buffer[kHeaderSize] = {};
    if (!data_.empty()) std::memcpy(buffer, data_.data(), std::min(data_.size(), kHeaderSize));
    header.load(buffer);
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
            const qb::Bytes block = bigBlock(sector);
            for (size_t off = 0; off + 4 <= block.size() && k < numBat; off += 4)
                blocks[k++] = u32At(block.data() + off);
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
            if (!block.empty()) std::memcpy(piece.data(), block.data(), std::min(block.size(), want));
            if (table) table->append(piece.data(), piece.size());
            if (raw) raw->insert(raw->end(), piece.begin(), piece.end());
        }
    };
    const uint64_t fileSize = data_.size();
    bbat.data.clear();
    readChain(blocks, &bbat, nullptr, (fileBlocks + 1) * 4);
    sbat.data.clear();
    readChain(bbat.follow(header.sbat_start), &sbat, nullptr, (fileSize / sbat.blockSize + 1) * 4);

    std::vector<uint8_t> directory;
    readChain(bbat.follow(header.dirent_start), nullptr, &directory, fileSize + kDirEntrySize);
    dirtree.load(directory.data(), directory.size());
    if (directory.size() >= 0x78) sb_blocks = bbat.follow(u32At(directory.data() + 0x74));

    result = Ok;
    opened = true;
    return true;
}

std::vector<uint64_t> StorageIO::streamChain(const DirEntry& e) const {
    return usesBigBlocks(e) ? bbat.follow(e.start) : sbat.follow(e.start);
}

uint64_t StorageIO::readStream(const DirEntry& e, const std::vector<uint64_t>& chain, uint64_t pos,
                               uint8_t* buffer, uint64_t maxlen) const {
    if (!buffer || maxlen == 0 || pos >= e.size) return 0;
    const uint64_t total = std::min(maxlen, e.size - pos);
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
        const uint64_t available =
            block.size() > offset ? std::min<uint64_t>(n, block.size() - offset) : 0;
        if (available) std::memcpy(buffer + delivered, block.data() + offset, size_t(available));
        if (available < n) std::memset(buffer + delivered + available, 0, size_t(n - available));
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
    out.resize(size_t(readStream(e, chain, 0, out.data(), length)));
    return qb::Bytes::adopt(std::move(out));
}

bool Storage::open(bool, bool) {
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

uint64_t Stream::read(uint8_t* data, uint64_t maxlen) {
    if (fail()) return 0;
    const uint64_t n = io_->readStream(*entry_, chain_, pos_, data, maxlen);
    pos_ += n;
    return n;
}

int Stream::getch() {
    if (fail() || pos_ >= size()) return -1;
    if (cache_.empty() || pos_ < cacheStart_ || pos_ >= cacheStart_ + cache_.size()) {
        cacheStart_ = pos_ - pos_ % 4096;
        cache_.resize(size_t(std::min<uint64_t>(4096, size() - cacheStart_)));
        cache_.resize(
            size_t(io_->readStream(*entry_, chain_, cacheStart_, cache_.data(), cache_.size())));
        if (cache_.empty()) return -1;
        if (pos_ >= cacheStart_ + cache_.size()) return -1;
    }
    return cache_[size_t(pos_++ - cacheStart_)];
}

}  // namespace POLE
