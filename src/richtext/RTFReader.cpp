// The RTF reader: tokens to styled text, with fonts and their code pages, colours,
// paragraphs, tables, fields, list markers and pictures.
#include "richtext/RTFReader.h"

#include <algorithm>
#include <array>

#include "richtext/RTFFontTable.h"
#include "richtext/RTFPictureData.h"
#include "richtext/RTFTextDecoder.h"
#include "richtext/RTFTokenizer.h"

namespace qb {

namespace {

// Deeper groups than this are skipped whole, so hostile nesting costs no memory.
constexpr size_t kMaxGroupDepth = 512;
constexpr int32_t kDefaultHalfPoints = 24;

enum class Destination : uint8_t {
    Text,              // body text
    Skip,              // skipped with everything in it
    Ignore,            // no text of its own; groups inside may bring text back (\result)
    FontTable,
    ColorTable,
    Picture,
    FieldInstruction,
    ListText,
    Graphic,           // a "\NeXTGraphic NAME" reference of a directory document
};

struct GroupState {
    Destination destination = Destination::Text;
    int32_t font = -1;
    int32_t halfPoints = kDefaultHalfPoints;
    bool bold = false, italic = false, underline = false, strike = false, hidden = false;
    VerticalPosition vertical = VerticalPosition::Baseline;
    int32_t foreground = -1, background = -1;
    std::string link;
    int32_t unicodeSkip = 1;
    ParagraphAttributes paragraph;
    bool inTable = false;
};

struct Field {
    size_t depth;
    std::string instruction;
};

// Destinations skipped whole even without "\*".
bool isSkippedDestination(std::string_view w) {
    static constexpr std::array<std::string_view, 34> kSkipped{
        "stylesheet", "info", "header", "headerl", "headerr", "headerf", "footer", "footerl",
        "footerr", "footerf", "footnote", "annotation", "listtable", "listoverridetable",
        "revtbl", "rsidtbl", "generator", "xmlnstbl", "themedata", "colorschememapping",
        "latentstyles", "datastore", "docvar", "nonshppict", "pn", "pnseclvl", "ftnsep",
        "ftnsepc", "aftnsep", "xe", "tc", "objdata", "pgdsctbl", "filetbl"};
    return std::find(kSkipped.begin(), kSkipped.end(), w) != kSkipped.end();
}

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
    while (b < e && (s[b] == ' ' || s[b] == '\t')) ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t')) --e;
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
    bool setDestination(std::string_view word, bool starred);

    bool collectsText() const;
    // Consumes up to `n` characters of the substitute text that follows a \uN.
    size_t skipSubstitute(size_t n);
    void flushText();
    CharAttributes currentAttributes() const;
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
    std::vector<GroupState> stack_;
    GroupState state_;
    bool groupJustOpened_ = false;
    bool starred_ = false;
    size_t pendingSkip_ = 0;

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
};

StyledText Reader::read() {
    for (RTFToken t = tokens_.next(); t.kind != RTFToken::Kind::End; t = tokens_.next()) {
        switch (t.kind) {
            case RTFToken::Kind::GroupStart: onGroupStart(); break;
            case RTFToken::Kind::GroupEnd: onGroupEnd(); break;
            case RTFToken::Kind::ControlWord: onControlWord(t); break;
            case RTFToken::Kind::ControlSymbol: onControlSymbol(t); break;
            case RTFToken::Kind::HexByte: onHexByte(t.byte); break;
            case RTFToken::Kind::Text: onText(t.text); break;
            case RTFToken::Kind::Binary: onBinary(t); break;
            case RTFToken::Kind::End: break;
        }
        if (stack_.empty() && t.kind == RTFToken::Kind::GroupEnd) break;  // the document's end
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
    while (!stack_.empty())
        onGroupEnd();
    return std::move(doc_);
}

void Reader::onGroupStart() {
    flushText();
    pendingSkip_ = 0;
    if (stack_.size() >= kMaxGroupDepth) {
        tokens_.skipGroup();
        return;
    }
    stack_.push_back(state_);
    groupJustOpened_ = true;
    starred_ = false;
}

void Reader::onGroupEnd() {
    flushText();
    pendingSkip_ = 0;
    groupJustOpened_ = false;
    starred_ = false;
    if (stack_.empty()) return;
    const GroupState closing = state_;
    state_ = stack_.back();
    stack_.pop_back();
    while (!fields_.empty() && fields_.back().depth > stack_.size())
        fields_.pop_back();
    switch (closing.destination) {
        case Destination::FontTable:
            fonts_.endFont();
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

bool Reader::setDestination(std::string_view w, bool starred) {
    Destination d;
    if (w == "fonttbl") {
        d = Destination::FontTable;
    } else if (w == "colortbl") {
        d = Destination::ColorTable;
        colors_.clear();
    } else if (w == "pict") {
        d = Destination::Picture;
        picture_ = RTFPictureData{};
    } else if (w == "fldinst") {
        d = Destination::FieldInstruction;
    } else if (w == "fldrslt") {
        d = Destination::Text;
        if (!fields_.empty())
            if (auto link = hyperlinkOfFieldInstruction(fields_.back().instruction))
                state_.link = *link;
    } else if (w == "pntext" || w == "listtext") {
        d = Destination::ListText;
    } else if (w == "NeXTGraphic") {
        d = Destination::Graphic;
        graphicName_.clear();
        graphicWidth_.reset();
        graphicHeight_.reset();
    } else if (w == "shppict" || w == "shprslt" || w == "shptxt" || w == "result") {
        // Wrappers around pictures and text that a reader shows.
        d = state_.destination == Destination::Ignore ? Destination::Text : state_.destination;
    } else if (w == "object" || w == "shp") {
        d = Destination::Ignore;
    } else if (starred || isSkippedDestination(w)) {
        d = Destination::Skip;
    } else {
        return false;
    }
    state_.destination = d;
    return true;
}

bool Reader::collectsText() const {
    switch (state_.destination) {
        case Destination::Text: return !state_.hidden;
        case Destination::FieldInstruction:
        case Destination::ListText: return true;
        default: return false;
    }
}

size_t Reader::skipSubstitute(size_t n) {
    const size_t skipped = std::min(n, pendingSkip_);
    pendingSkip_ -= skipped;
    return skipped;
}

void Reader::onText(std::string_view text) {
    groupJustOpened_ = starred_ = false;
    text.remove_prefix(skipSubstitute(text.size()));
    if (text.empty()) return;
    switch (state_.destination) {
        case Destination::ColorTable:
            for (char c : text) {
                if (c != ';') continue;
                colors_.push_back(colorDefSet_ ? std::optional<RGBColor>(colorDef_) : std::nullopt);
                colorDef_ = {};
                colorDefSet_ = false;
            }
            return;
        case Destination::Picture:
            picture_.addHexText(text);
            return;
        case Destination::Graphic:
            graphicName_.append(text);
            return;
        case Destination::FontTable:
            fonts_.text(text);
            return;
        default:
            if (collectsText()) decoder_.addBytes(text);
    }
}

void Reader::onHexByte(uint8_t byte) {
    groupJustOpened_ = starred_ = false;
    if (skipSubstitute(1)) return;
    if (state_.destination == Destination::FontTable)
        fonts_.hexByte(byte);
    else if (collectsText())
        decoder_.addByte(byte);
}

void Reader::onBinary(const RTFToken& t) {
    if (skipSubstitute(1)) return;
    if (state_.destination != Destination::Picture) return;
    const size_t offset = t.text.data() - input_.view().data();
    picture_.setBinary(input_.slice(offset, t.text.size()));
}

void Reader::onControlSymbol(const RTFToken& t) {
    const char c = t.word.empty() ? '\0' : t.word[0];
    if (c == '*') {
        starred_ = true;
        return;
    }
    groupJustOpened_ = starred_ = false;
    if (skipSubstitute(1)) return;
    flushText();
    if (!collectsText()) return;
    switch (c) {
        case '\\':
        case '{':
        case '}': decoder_.addBytes(t.word); break;
        case '~': decoder_.addUnicode(0x00A0); break;
        case '_': decoder_.addUnicode(0x2011); break;
        case '|':
        case ':': decoder_.addBytes(t.word); break;
        default: break;  // "\-" optional hyphen and unknown symbols show nothing
    }
}

void Reader::onControlWord(const RTFToken& t) {
    const std::string_view w = t.word;
    const int32_t p = t.param.value_or(0);
    const bool on = !t.param || *t.param != 0;
    if (!groupJustOpened_ && starred_) {
        // "\*" belongs before the first word of a group; elsewhere the word is ignored.
        starred_ = false;
        return;
    }
    if (groupJustOpened_) {
        const bool starred = starred_;
        groupJustOpened_ = false;
        starred_ = false;
        if (w == "field") {
            flushText();
            fields_.push_back({stack_.size(), {}});
            return;
        }
        const Destination before = state_.destination;
        if (before != Destination::Skip && setDestination(w, starred)) {
            if (state_.destination == Destination::Skip) {
                // Restore the group's state and read past it.
                state_ = stack_.back();
                stack_.pop_back();
                tokens_.skipGroup();
            }
            return;
        }
    }
    if (state_.destination == Destination::Skip) return;
    pendingSkip_ = 0;

    if (state_.destination == Destination::Picture) {
        picture_.applyControlWord(w, t.param);
        return;
    }
    if (state_.destination == Destination::Graphic) {
        if (w == "width") graphicWidth_ = p;
        if (w == "height") graphicHeight_ = p;
        return;
    }
    if (state_.destination == Destination::ColorTable) {
        const auto v = static_cast<uint8_t>(std::clamp(p, 0, 255));
        if (w == "red") colorDef_.red = v, colorDefSet_ = true;
        if (w == "green") colorDef_.green = v, colorDefSet_ = true;
        if (w == "blue") colorDef_.blue = v, colorDefSet_ = true;
        return;
    }
    if (state_.destination == Destination::FontTable) {
        fonts_.controlWord(w, p, ansiCodePage_);
        return;
    }

    // Characters.
    if (w == "u") {
        if (collectsText()) decoder_.addUnicode(p);
        pendingSkip_ = static_cast<size_t>(std::max(state_.unicodeSkip, 0));
        return;
    }
    struct Special {
        std::string_view word;
        char32_t cp;
    };
    static constexpr std::array<Special, 13> kSpecials{{{"emdash", 0x2014},
                                                        {"endash", 0x2013},
                                                        {"bullet", 0x2022},
                                                        {"lquote", 0x2018},
                                                        {"rquote", 0x2019},
                                                        {"ldblquote", 0x201C},
                                                        {"rdblquote", 0x201D},
                                                        {"emspace", 0x2003},
                                                        {"enspace", 0x2002},
                                                        {"qmspace", 0x2005},
                                                        {"tab", '\t'},
                                                        {"line", '\n'},
                                                        {"zwj", 0x200D}}};
    for (const auto& s : kSpecials) {
        if (w != s.word) continue;
        if (collectsText()) decoder_.addUnicode(static_cast<int32_t>(s.cp));
        return;
    }

    flushText();
    if (w == "par" || w == "page" || w == "sect") {
        if (state_.destination == Destination::Text) finishParagraph();
    } else if (w == "cell" || w == "nestcell") {
        if (state_.destination == Destination::Text) finishCell();
    } else if (w == "row" || w == "nestrow") {
        if (state_.destination == Destination::Text) finishRow();
    } else if (w == "trowd") {
        cellRightEdges_.clear();
    } else if (w == "cellx") {
        if (cellRightEdges_.size() < 4096) cellRightEdges_.push_back(p);
    } else if (w == "intbl") {
        state_.inTable = on;
    } else if (w == "pard") {
        state_.paragraph = ParagraphAttributes{};
        state_.inTable = false;
    } else if (w == "ql") {
        state_.paragraph.alignment = Alignment::Left;
    } else if (w == "qr") {
        state_.paragraph.alignment = Alignment::Right;
    } else if (w == "qc") {
        state_.paragraph.alignment = Alignment::Center;
    } else if (w == "qj") {
        state_.paragraph.alignment = Alignment::Justified;
    } else if (w == "li") {
        state_.paragraph.leftIndent = p;
    } else if (w == "ri") {
        state_.paragraph.rightIndent = p;
    } else if (w == "fi") {
        state_.paragraph.firstLineIndent = p;
    } else if (w == "sb") {
        state_.paragraph.spaceBefore = p;
    } else if (w == "sa") {
        state_.paragraph.spaceAfter = p;
    } else if (w == "plain") {
        const GroupState fresh;
        state_.font = defaultFont_;
        state_.halfPoints = fresh.halfPoints;
        state_.bold = state_.italic = state_.underline = state_.strike = state_.hidden = false;
        state_.vertical = VerticalPosition::Baseline;
        state_.foreground = state_.background = -1;
        applyCodePage();
    } else if (w == "f") {
        state_.font = p;
        applyCodePage();
    } else if (w == "fs") {
        if (p > 0) state_.halfPoints = std::min(p, 3276);
    } else if (w == "b") {
        state_.bold = on;
    } else if (w == "i") {
        state_.italic = on;
    } else if (w == "ul" || w == "uld" || w == "uldb" || w == "ulw" || w == "ulwave" ||
               w == "uldash" || w == "ulth") {
        state_.underline = on;
    } else if (w == "ulnone") {
        state_.underline = false;
    } else if (w == "strike" || w == "striked") {
        state_.strike = on;
    } else if (w == "v") {
        state_.hidden = on;
    } else if (w == "super") {
        state_.vertical = on ? VerticalPosition::Superscript : VerticalPosition::Baseline;
    } else if (w == "sub") {
        state_.vertical = on ? VerticalPosition::Subscript : VerticalPosition::Baseline;
    } else if (w == "nosupersub") {
        state_.vertical = VerticalPosition::Baseline;
    } else if (w == "cf") {
        state_.foreground = p;
    } else if (w == "cb" || w == "highlight" || w == "chcbpat") {
        state_.background = p;
    } else if (w == "uc") {
        state_.unicodeSkip = std::clamp(p, 0, 16);
    } else if (w == "ansicpg") {
        if (p > 0) ansiCodePage_ = static_cast<uint32_t>(p);
        applyCodePage();
    } else if (w == "mac") {
        ansiCodePage_ = 10000;
        applyCodePage();
    } else if (w == "pc") {
        ansiCodePage_ = 437;
        applyCodePage();
    } else if (w == "pca") {
        ansiCodePage_ = 850;
        applyCodePage();
    } else if (w == "deff") {
        defaultFont_ = p;
        if (state_.font < 0) state_.font = p;
        applyCodePage();
    }
}

void Reader::applyCodePage() {
    if (state_.destination == Destination::FontTable) return;
    decoder_.setCodePage(
        fonts_.codePageOf(state_.font >= 0 ? state_.font : defaultFont_, ansiCodePage_));
}

CharAttributes Reader::currentAttributes() const {
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
    a.link = state_.link;
    return a;
}

void Reader::flushText() {
    if (!decoder_.hasPending()) return;
    std::string text = decoder_.take();
    switch (state_.destination) {
        case Destination::Text:
            if (!state_.hidden) addRun(TextRun{std::move(text), nullptr, currentAttributes()});
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
    std::string marker = std::move(p.attributes.listMarker);
    p.attributes = state_.paragraph;
    // The marker's own tab only separates it from the text.
    while (!marker.empty() && (marker.back() == '\t' || marker.back() == ' '))
        marker.pop_back();
    p.attributes.listMarker = std::move(marker);
    p.markAttributes = currentAttributes();
    p.markAttributes.link.clear();
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
    addRun(TextRun{{}, std::make_shared<const StyledImage>(std::move(*image)), currentAttributes()});
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
    addRun(TextRun{{}, std::make_shared<const StyledImage>(std::move(image)), currentAttributes()});
}

// Splits a field instruction into its words; quoted words keep their spaces.
std::vector<std::string> instructionWords(std::string_view s) {
    std::vector<std::string> words;
    size_t i = 0;
    while (i < s.size() && words.size() < 64) {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
        if (i >= s.size()) break;
        std::string w;
        if (s[i] == '"') {
            ++i;
            while (i < s.size() && s[i] != '"') w += s[i++];
            ++i;
        } else {
            while (i < s.size() && s[i] != ' ' && s[i] != '\t') w += s[i++];
        }
        words.push_back(std::move(w));
    }
    return words;
}

}  // namespace

std::optional<std::string> hyperlinkOfFieldInstruction(std::string_view instruction) {
    const auto words = instructionWords(instruction);
    if (words.empty() || !equalsNoCase(words[0], "HYPERLINK")) return std::nullopt;
    std::string url, anchor;
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string& w = words[i];
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
    while (start < v.size() && (v[start] == ' ' || v[start] == '\r' || v[start] == '\n' ||
                                v[start] == '\t'))
        ++start;
    if (v.substr(start, 5) != "{\\rtf") return std::nullopt;
    return Reader(rtf.slice(start), files).read();
}

}  // namespace qb
