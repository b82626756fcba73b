// SPDX-License-Identifier: Apache-2.0
// The RTF reader: tokens to styled text, with fonts and their code pages, colours,
// paragraphs, tables, fields, list markers and pictures.
#include "richtext/RTFReader.h"

#include <algorithm>
#include <array>

#include "platform/HugePages.h"
#include "richtext/RTFControlWords.h"
#include "richtext/RTFFontTable.h"
#include "richtext/RTFGroupStack.h"
#include "richtext/RTFPictureData.h"
#include "richtext/RTFTextDecoder.h"
#include "richtext/RTFTokenizer.h"

namespace qb {

namespace {

// Deeper groups than this are skipped whole, so hostile nesting costs no memory.
constexpr int32_t kDefaultHalfPoints = 24;

enum class Destination : uint8_t {
    Text,    // body text
    Skip,    // skipped with everything in it
    Ignore,  // no text of its own; groups inside may bring text back (\result)
    FontTable,
    ColorTable,
    Picture,
    FieldInstruction,
    ListText,
    Graphic,  // a "\NeXTGraphic NAME" reference of a directory document
};

struct GroupState {
    Destination destination = Destination::Text;
    int32_t font = -1;
    int32_t halfPoints = kDefaultHalfPoints;
    bool bold = false, italic = false, underline = false, strike = false, hidden = false;
    VerticalPosition vertical = VerticalPosition::Baseline;
    int32_t foreground = -1, background = -1;
    // The link target, by its number among the document's links; -1 for none.
    int32_t link = -1;
    int32_t unicodeSkip = 1;
    ParagraphAttributes paragraph;
    bool inTable = false;
};

struct Field {
    size_t depth;
    std::string instruction;
    // The link of the instruction as it was when last read (its size then, and the link's
    // number or -1), so that many results of one field do not read a long instruction again.
    size_t readSize = SIZE_MAX;
    int32_t link = -1;
};

// What decides a run's look, in the reader's own terms: the same key is the same look as
// long as the font and colour tables stay as they are.
struct LookKey {
    int32_t font, halfPoints, foreground, background, link;
    uint8_t flags;
    VerticalPosition vertical;
    friend bool operator==(const LookKey&, const LookKey&) = default;
};

size_t hashOf(const LookKey& k) {
    uint64_t h = uint32_t(k.font);
    for (uint64_t v : {uint64_t(uint32_t(k.halfPoints)), uint64_t(uint32_t(k.foreground)),
                       uint64_t(uint32_t(k.background)), uint64_t(uint32_t(k.link)),
                       uint64_t(k.flags) << 8 | uint64_t(k.vertical)})
        h = (h ^ v) * 0x100000001b3ULL;
    // Every bit of the key reaches the low bits, which pick the cache entry.
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    return static_cast<size_t>(h);
}

// The looks of recent keys. A key missing here (or pushed out by another) is looked up in
// the document's table of looks, which gives the same number for the same look. Entries of
// an earlier generation (before the tables last changed) are not used.
struct LookCache {
    struct Entry {
        LookKey key;
        AttributesID id;
        uint32_t generation = 0;
    };
    static constexpr size_t kSize = 256;
    std::array<Entry, kSize> entries{};
    uint32_t generation = 1;
};

bool equalsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

std::string trimmed(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t'))
        ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t'))
        --e;
    return std::string(s.substr(b, e - b));
}

class Reader {
  public:
    Reader(const Bytes& rtf, const RTFPictureFiles* files)
        : input_(rtf), files_(files), tokens_(rtf.view()) {}

    StyledText read();

  private:
    void onGroupStart();
    void onGroupEnd();
    void onControlWord(const RTFToken& t);
    void onControlSymbol(const RTFToken& t);
    void onText(std::string_view text);
    void onHexByte(uint8_t byte);
    void onBinary(const RTFToken& t);
    bool setDestination(RTFWord word, bool starred);

    bool collectsText() const;
    void flushText();
    // The look of text in the current state, with or without its link.
    AttributesID currentLook(bool withLink = true);
    CharAttributes currentAttributes(bool withLink) const;
    // The font or colour table changed: looks are worked out afresh.
    void tablesChanged() { ++looks_.generation; }
    void applyCodePage();
    void finishParagraph();
    void finishCell();
    void finishRow();
    void closeTable();
    void finishPicture(const GroupState& parent);
    void finishGraphic(const GroupState& parent);
    void addRun(TextRun run);

    Bytes input_;
    const RTFPictureFiles* files_;
    RTFTokenizer tokens_;
    RTFGroupStack<GroupState> groups_;
    GroupState state_;

    RTFFontTable fonts_;
    std::vector<std::optional<RGBColor>> colors_;
    RGBColor colorDef_;
    bool colorDefSet_ = false;
    uint32_t ansiCodePage_ = 1252;
    int32_t defaultFont_ = 0;

    RTFTextDecoder decoder_;
    StyledText doc_;
    Paragraph paragraph_;
    bool tableOpen_ = false;
    TableRow row_;
    TableCell cell_;
    std::vector<int32_t> cellRightEdges_;

    RTFPictureData picture_;
    std::string graphicName_;
    std::optional<int32_t> graphicWidth_, graphicHeight_;
    std::vector<Field> fields_;
    std::vector<std::string> links_;

    LookCache looks_;
};

StyledText Reader::read() {
    // Room for a paragraph per 256 bytes (mail runs longer), claimed but not touched: a long
    // body's paragraphs are not moved to fresh memory at every doubling.
    constexpr size_t kBytesPerParagraph = 256, kMostParagraphs = size_t(1) << 20;
    doc_.blocks().reserve(std::min(input_.size() / kBytesPerParagraph, kMostParagraphs));
    adviseHugePages(doc_.blocks().data(), doc_.blocks().capacity() * sizeof(Block));
    for (RTFToken t = tokens_.next(); t.kind != RTFToken::Kind::End; t = tokens_.next()) {
        switch (t.kind) {
            case RTFToken::Kind::GroupStart:
                onGroupStart();
                break;
            case RTFToken::Kind::GroupEnd:
                onGroupEnd();
                break;
            case RTFToken::Kind::ControlWord:
                onControlWord(t);
                break;
            case RTFToken::Kind::ControlSymbol:
                onControlSymbol(t);
                break;
            case RTFToken::Kind::HexByte:
                onHexByte(t.byte);
                break;
            case RTFToken::Kind::Text:
                onText(t.text);
                break;
            case RTFToken::Kind::Binary:
                onBinary(t);
                break;
            case RTFToken::Kind::End:
                break;
        }
        if (groups_.empty() && t.kind == RTFToken::Kind::GroupEnd) break;  // the document's end
    }
    // Cut-off input: what was read is kept, a cell or paragraph in progress included.
    flushText();
    if (!paragraph_.runs.empty() || !paragraph_.attributes.listMarker.empty()) {
        if (state_.inTable)
            finishCell();
        else
            finishParagraph();
    }
    if (!cell_.paragraphs.empty() || !row_.cells.empty()) finishRow();
    while (!groups_.empty())
        onGroupEnd();
    return std::move(doc_);
}

void Reader::onGroupStart() {
    flushText();
    if (!groups_.open(state_)) tokens_.skipGroup();
}

void Reader::onGroupEnd() {
    flushText();
    const std::optional<GroupState> ended = groups_.close(state_);
    if (!ended) return;
    const GroupState& closing = *ended;
    while (!fields_.empty() && fields_.back().depth > groups_.depth())
        fields_.pop_back();
    switch (closing.destination) {
        case Destination::FontTable:
            fonts_.endFont();
            tablesChanged();
            break;
        case Destination::Picture:
            if (state_.destination != Destination::Picture) finishPicture(state_);
            break;
        case Destination::Graphic:
            if (state_.destination != Destination::Graphic) finishGraphic(state_);
            break;
        default:
            break;
    }
    applyCodePage();
}

bool Reader::setDestination(RTFWord w, bool starred) {
    Destination d;
    switch (w) {
        case RTFWord::fonttbl:
            d = Destination::FontTable;
            break;
        case RTFWord::colortbl:
            d = Destination::ColorTable;
            colors_.clear();
            tablesChanged();
            break;
        case RTFWord::pict:
            d = Destination::Picture;
            picture_ = RTFPictureData{};
            break;
        case RTFWord::fldinst:
            d = Destination::FieldInstruction;
            break;
        case RTFWord::fldrslt:
            d = Destination::Text;
            if (!fields_.empty()) {
                Field& field = fields_.back();
                // The instruction only grows, so its size says whether it changed.
                if (field.readSize != field.instruction.size()) {
                    field.readSize = field.instruction.size();
                    field.link = -1;
                    if (auto link = hyperlinkOfFieldInstruction(field.instruction)) {
                        if (links_.empty() || links_.back() != *link)
                            links_.push_back(std::move(*link));
                        field.link = static_cast<int32_t>(links_.size() - 1);
                    }
                }
                if (field.link >= 0) state_.link = field.link;
            }
            break;
        case RTFWord::pntext:
        case RTFWord::listtext:
            d = Destination::ListText;
            break;
        case RTFWord::NeXTGraphic:
            d = Destination::Graphic;
            graphicName_.clear();
            graphicWidth_.reset();
            graphicHeight_.reset();
            break;
        case RTFWord::shppict:
        case RTFWord::shprslt:
        case RTFWord::shptxt:
        case RTFWord::result:
            // Wrappers around pictures and text that a reader shows.
            d = state_.destination == Destination::Ignore ? Destination::Text : state_.destination;
            break;
        case RTFWord::object:
        case RTFWord::shp:
            d = Destination::Ignore;
            break;
        default:
            if (!starred && w != RTFWord::SkippedDestination) return false;
            d = Destination::Skip;
    }
    state_.destination = d;
    return true;
}

bool Reader::collectsText() const {
    switch (state_.destination) {
        case Destination::Text:
            return !state_.hidden;
        case Destination::FieldInstruction:
        case Destination::ListText:
            return true;
        default:
            return false;
    }
}

void Reader::onText(std::string_view text) {
    groups_.clearMarks();
    text.remove_prefix(groups_.skipSubstitute(text.size()));
    if (text.empty()) return;
    switch (state_.destination) {
        case Destination::ColorTable:
            tablesChanged();
            for (char c : text) {
                if (c != ';') continue;
                colors_.push_back(colorDefSet_ ? std::optional<RGBColor>(colorDef_) : std::nullopt);
                colorDef_ = {};
                colorDefSet_ = false;
            }
            return;
        case Destination::Picture: {
            // The digits run on over line ends to the group's end: one piece, decoded at once.
            const std::string_view rest = tokens_.textRun();
            picture_.addHexText(
                std::string_view(text.data(), size_t(rest.data() + rest.size() - text.data())));
            return;
        }
        case Destination::Graphic:
            graphicName_.append(text);
            return;
        case Destination::FontTable:
            fonts_.text(text);
            tablesChanged();
            return;
        default:
            if (collectsText()) decoder_.addBytes(text);
    }
}

void Reader::onHexByte(uint8_t byte) {
    groups_.clearMarks();
    if (groups_.skipSubstitute(1)) return;
    if (state_.destination == Destination::FontTable) {
        fonts_.hexByte(byte);
        tablesChanged();
    } else if (collectsText()) {
        decoder_.addByte(byte);
    }
}

void Reader::onBinary(const RTFToken& t) {
    if (groups_.skipSubstitute(1)) return;
    if (state_.destination != Destination::Picture) return;
    const size_t offset = t.text.data() - input_.view().data();
    picture_.setBinary(input_.slice(offset, t.text.size()));
}

void Reader::onControlSymbol(const RTFToken& t) {
    const char c = t.word.empty() ? '\0' : t.word[0];
    if (c == '*') {
        groups_.star();
        return;
    }
    groups_.clearMarks();
    if (groups_.skipSubstitute(1)) return;
    flushText();
    if (!collectsText()) return;
    switch (c) {
        case '\\':
        case '{':
        case '}':
            decoder_.addBytes(t.word);
            break;
        case '~':
            decoder_.addUnicode(0x00A0);
            break;
        case '_':
            decoder_.addUnicode(0x2011);
            break;
        case '|':
        case ':':
            decoder_.addBytes(t.word);
            break;
        default:
            break;  // "\-" optional hyphen and unknown symbols show nothing
    }
}

void Reader::onControlWord(const RTFToken& t) {
    const std::string_view w = t.word;
    const int32_t p = t.param.value_or(0);
    const bool on = !t.param || *t.param != 0;
    // "\*" belongs before the first word of a group; elsewhere the word is ignored.
    const auto place = groups_.placeWord();
    if (place == RTFGroupStack<GroupState>::WordPlace::Ignored) return;
    const RTFWord word = rtfWord(w);
    if (place != RTFGroupStack<GroupState>::WordPlace::Inside) {
        const bool starred = place == RTFGroupStack<GroupState>::WordPlace::FirstStarred;
        if (word == RTFWord::field) {
            flushText();
            fields_.push_back(Field{groups_.depth(), {}, SIZE_MAX, -1});
            return;
        }
        const Destination before = state_.destination;
        if (before != Destination::Skip && setDestination(word, starred)) {
            if (state_.destination == Destination::Skip) {
                // Restore the group's state and read past it.
                groups_.drop(state_);
                tokens_.skipGroup();
            }
            return;
        }
    }
    if (state_.destination == Destination::Skip) return;
    groups_.cancelSubstitute();

    switch (state_.destination) {
        case Destination::Picture:
            picture_.applyControlWord(w, t.param);
            return;
        case Destination::Graphic:
            if (word == RTFWord::width) graphicWidth_ = p;
            if (word == RTFWord::height) graphicHeight_ = p;
            return;
        case Destination::ColorTable: {
            const auto v = static_cast<uint8_t>(std::clamp(p, 0, 255));
            if (word == RTFWord::red) colorDef_.red = v, colorDefSet_ = true;
            if (word == RTFWord::green) colorDef_.green = v, colorDefSet_ = true;
            if (word == RTFWord::blue) colorDef_.blue = v, colorDefSet_ = true;
            return;
        }
        case Destination::FontTable:
            fonts_.controlWord(w, p, ansiCodePage_);
            tablesChanged();
            return;
        default:
            break;
    }

    // Characters.
    if (word == RTFWord::u) {
        if (collectsText()) decoder_.addUnicode(p);
        groups_.expectSubstitute(static_cast<size_t>(std::max(state_.unicodeSkip, 0)));
        return;
    }
    if (const char32_t c = characterOfRTFWord(word)) {
        if (collectsText()) decoder_.addUnicode(static_cast<int32_t>(c));
        return;
    }

    flushText();
    switch (word) {
        case RTFWord::par:
        case RTFWord::page:
        case RTFWord::sect:
            if (state_.destination == Destination::Text) finishParagraph();
            break;
        case RTFWord::cell:
        case RTFWord::nestcell:
            if (state_.destination == Destination::Text) finishCell();
            break;
        case RTFWord::row:
        case RTFWord::nestrow:
            if (state_.destination == Destination::Text) finishRow();
            break;
        case RTFWord::trowd:
            cellRightEdges_.clear();
            break;
        case RTFWord::cellx:
            if (cellRightEdges_.size() < 4096) cellRightEdges_.push_back(p);
            break;
        case RTFWord::intbl:
            state_.inTable = on;
            break;
        case RTFWord::pard:
            state_.paragraph = ParagraphAttributes{};
            state_.inTable = false;
            break;
        case RTFWord::ql:
            state_.paragraph.alignment = Alignment::Left;
            break;
        case RTFWord::qr:
            state_.paragraph.alignment = Alignment::Right;
            break;
        case RTFWord::qc:
            state_.paragraph.alignment = Alignment::Center;
            break;
        case RTFWord::qj:
            state_.paragraph.alignment = Alignment::Justified;
            break;
        case RTFWord::li:
            state_.paragraph.leftIndent = p;
            break;
        case RTFWord::ri:
            state_.paragraph.rightIndent = p;
            break;
        case RTFWord::fi:
            state_.paragraph.firstLineIndent = p;
            break;
        case RTFWord::sb:
            state_.paragraph.spaceBefore = p;
            break;
        case RTFWord::sa:
            state_.paragraph.spaceAfter = p;
            break;
        case RTFWord::plain: {
            const GroupState fresh;
            state_.font = defaultFont_;
            state_.halfPoints = fresh.halfPoints;
            state_.bold = state_.italic = state_.underline = state_.strike = state_.hidden = false;
            state_.vertical = VerticalPosition::Baseline;
            state_.foreground = state_.background = -1;
            applyCodePage();
            break;
        }
        case RTFWord::f:
            state_.font = p;
            applyCodePage();
            break;
        case RTFWord::fs:
            if (p > 0) state_.halfPoints = std::min(p, 3276);
            break;
        case RTFWord::b:
            state_.bold = on;
            break;
        case RTFWord::i:
            state_.italic = on;
            break;
        case RTFWord::ul:
            state_.underline = on;
            break;
        case RTFWord::ulnone:
            state_.underline = false;
            break;
        case RTFWord::strike:
            state_.strike = on;
            break;
        case RTFWord::v:
            state_.hidden = on;
            break;
        case RTFWord::super:
            state_.vertical = on ? VerticalPosition::Superscript : VerticalPosition::Baseline;
            break;
        case RTFWord::sub:
            state_.vertical = on ? VerticalPosition::Subscript : VerticalPosition::Baseline;
            break;
        case RTFWord::nosupersub:
            state_.vertical = VerticalPosition::Baseline;
            break;
        case RTFWord::cf:
            state_.foreground = p;
            break;
        case RTFWord::cb:
            state_.background = p;
            break;
        case RTFWord::uc:
            state_.unicodeSkip = std::clamp(p, 0, 16);
            break;
        case RTFWord::ansicpg:
            if (p > 0) ansiCodePage_ = static_cast<uint32_t>(p);
            applyCodePage();
            break;
        case RTFWord::mac:
            ansiCodePage_ = 10000;
            applyCodePage();
            break;
        case RTFWord::pc:
            ansiCodePage_ = 437;
            applyCodePage();
            break;
        case RTFWord::pca:
            ansiCodePage_ = 850;
            applyCodePage();
            break;
        case RTFWord::deff:
            defaultFont_ = p;
            if (state_.font < 0) state_.font = p;
            applyCodePage();
            break;
        default:
            break;
    }
}

void Reader::applyCodePage() {
    if (state_.destination == Destination::FontTable) return;
    decoder_.setCodePage(
        fonts_.codePageOf(state_.font >= 0 ? state_.font : defaultFont_, ansiCodePage_));
}

AttributesID Reader::currentLook(bool withLink) {
    const int32_t f = state_.font >= 0 ? state_.font : defaultFont_;
    const LookKey key{
        f,
        state_.halfPoints,
        state_.foreground,
        state_.background,
        withLink ? state_.link : -1,
        uint8_t(state_.bold | state_.italic << 1 | state_.underline << 2 | state_.strike << 3),
        state_.vertical};
    LookCache::Entry& e = looks_.entries[hashOf(key) % LookCache::kSize];
    if (e.generation != looks_.generation || !(e.key == key))
        e = {key, doc_.intern(currentAttributes(withLink)), looks_.generation};
    return e.id;
}

CharAttributes Reader::currentAttributes(bool withLink) const {
    CharAttributes a;
    const int32_t f = state_.font >= 0 ? state_.font : defaultFont_;
    if (const RTFFont* font = fonts_.font(f)) {
        a.fontFamily = font->name;
        a.genericFamily = font->genericFamily;
    }
    a.pointSize = state_.halfPoints / 2.0;
    a.bold = state_.bold;
    a.italic = state_.italic;
    a.underline = state_.underline;
    a.strikethrough = state_.strike;
    a.vertical = state_.vertical;
    auto color = [this](int32_t i) -> std::optional<RGBColor> {
        if (i < 0 || static_cast<size_t>(i) >= colors_.size()) return std::nullopt;
        return colors_[static_cast<size_t>(i)];
    };
    a.foreground = color(state_.foreground);
    a.background = color(state_.background);
    if (withLink && state_.link >= 0 && static_cast<size_t>(state_.link) < links_.size())
        a.link = links_[static_cast<size_t>(state_.link)];
    return a;
}

void Reader::flushText() {
    if (!decoder_.hasPending()) return;
    std::string text = decoder_.take();
    switch (state_.destination) {
        case Destination::Text:
            if (!state_.hidden) addRun(TextRun{std::move(text), nullptr, currentLook()});
            break;
        case Destination::FieldInstruction:
            if (!fields_.empty() && fields_.back().instruction.size() < 65536)
                fields_.back().instruction += text;
            break;
        case Destination::ListText:
            paragraph_.attributes.listMarker += text;
            break;
        default:
            break;
    }
}

void Reader::addRun(TextRun run) {
    if (run.text.empty() && !run.image) return;
    auto& runs = paragraph_.runs;
    if (!run.image && !runs.empty() && !runs.back().image &&
        runs.back().attributes == run.attributes) {
        runs.back().text += run.text;
        return;
    }
    runs.push_back(std::move(run));
}

void Reader::finishParagraph() {
    Paragraph p = std::move(paragraph_);
    paragraph_ = Paragraph{};
    // The runs are most of the model: each paragraph keeps room for just its own, and the
    // next one starts with room for as many.
    if (p.runs.capacity() > p.runs.size()) p.runs.shrink_to_fit();
    paragraph_.runs.reserve(p.runs.size());
    std::string marker = std::move(p.attributes.listMarker);
    p.attributes = state_.paragraph;
    // The marker's own tab only separates it from the text.
    while (!marker.empty() && (marker.back() == '\t' || marker.back() == ' '))
        marker.pop_back();
    p.attributes.listMarker = std::move(marker);
    p.markAttributes = currentLook(false);
    if (state_.inTable) {
        cell_.paragraphs.push_back(std::move(p));
        return;
    }
    closeTable();
    doc_.blocks().push_back(Block{false, std::move(p), {}});
}

void Reader::finishCell() {
    if (!paragraph_.runs.empty() || !paragraph_.attributes.listMarker.empty() ||
        cell_.paragraphs.empty()) {
        const bool inTable = state_.inTable;
        state_.inTable = true;
        finishParagraph();
        state_.inTable = inTable;
    }
    row_.cells.push_back(std::move(cell_));
    cell_ = TableCell{};
}

void Reader::finishRow() {
    if (!cell_.paragraphs.empty()) {
        row_.cells.push_back(std::move(cell_));
        cell_ = TableCell{};
    }
    int32_t left = 0;
    for (size_t i = 0; i < row_.cells.size() && i < cellRightEdges_.size(); ++i) {
        const int32_t right = cellRightEdges_[i];
        if (right > left) row_.cells[i].widthTwips = right - left;
        left = right;
    }
    auto& blocks = doc_.blocks();
    if (!tableOpen_ || blocks.empty() || !blocks.back().isTable) {
        blocks.push_back(Block{true, {}, {}});
        tableOpen_ = true;
    }
    blocks.back().table.rows.push_back(std::move(row_));
    row_ = TableRow{};
}

void Reader::closeTable() {
    if (!cell_.paragraphs.empty() || !row_.cells.empty()) finishRow();
    tableOpen_ = false;
}

void Reader::finishPicture(const GroupState& parent) {
    if (parent.destination != Destination::Text || parent.hidden) return;
    auto image = picture_.takeImage();
    picture_ = RTFPictureData{};
    if (!image) return;
    GroupState saved = state_;
    state_ = parent;
    addRun(TextRun{{}, std::make_shared<const StyledImage>(std::move(*image)), currentLook()});
    state_ = std::move(saved);
}

void Reader::finishGraphic(const GroupState& parent) {
    if (parent.destination != Destination::Text || parent.hidden) return;
    StyledImage image;
    image.name = trimmed(graphicName_);
    if (image.name.empty()) return;
    if (files_)
        if (auto it = files_->find(image.name); it != files_->end()) image.data = it->second;
    image.mimeType = mimeTypeForPictureName(image.name);
    image.widthTwips = graphicWidth_;
    image.heightTwips = graphicHeight_;
    addRun(TextRun{{}, std::make_shared<const StyledImage>(std::move(image)), currentLook()});
}

// Splits a field instruction into its words; quoted words keep their spaces.
std::vector<std::string_view> instructionWords(std::string_view s) {
    std::vector<std::string_view> words;
    size_t i = 0;
    while (i < s.size() && words.size() < 64) {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
            ++i;
        if (i >= s.size()) break;
        const bool quoted = s[i] == '"';
        if (quoted) ++i;
        const size_t start = i;
        while (i < s.size() && (quoted ? s[i] != '"' : s[i] != ' ' && s[i] != '\t'))
            ++i;
        words.push_back(s.substr(start, i - start));
        if (quoted) ++i;
    }
    return words;
}

}  // namespace

std::optional<std::string> hyperlinkOfFieldInstruction(std::string_view instruction) {
    const auto words = instructionWords(instruction);
    if (words.empty() || !equalsNoCase(words[0], "HYPERLINK")) return std::nullopt;
    std::string url, anchor;
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string_view w = words[i];
        if (w == "\\l" && i + 1 < words.size()) {
            anchor = words[++i];
        } else if ((w == "\\o" || w == "\\t") && i + 1 < words.size()) {
            ++i;
        } else if (!w.empty() && w[0] == '\\') {
            continue;
        } else if (url.empty()) {
            url = w;
        }
    }
    if (!anchor.empty()) url += "#" + anchor;
    if (url.empty()) return std::nullopt;
    return url;
}

std::optional<StyledText> readRTF(const Bytes& rtf, const RTFPictureFiles* files) {
    std::string_view v = rtf.view();
    size_t start = 0;
    while (start < v.size() &&
           (v[start] == ' ' || v[start] == '\r' || v[start] == '\n' || v[start] == '\t'))
        ++start;
    if (v.substr(start, 5) != "{\\rtf") return std::nullopt;
    return Reader(rtf.slice(start), files).read();
}

}  // namespace qb
