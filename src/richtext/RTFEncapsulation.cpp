// SPDX-License-Identifier: Apache-2.0
// Recovering the HTML or plain text that rich text encapsulates.
#include "richtext/RTFEncapsulation.h"

#include <array>
#include <vector>

#include "richtext/RTFFontTable.h"
#include "richtext/RTFGroupStack.h"
#include "richtext/RTFTextDecoder.h"
#include "richtext/RTFTokenizer.h"

namespace qb {

namespace {

// The marker belongs to the header: it comes before the first group inside the document.
constexpr size_t kHeaderTokens = 64;

enum class Destination : uint8_t { Content, Skip, FontTable, Tag };

struct GroupState {
    Destination destination = Destination::Content;
    bool suppressed = false;  // inside \htmlrtf … \htmlrtf0
    int32_t font = -1;
    int32_t unicodeSkip = 1;
};

class Decapsulator {
  public:
    explicit Decapsulator(std::string_view rtf) : tokens_(rtf) {}

    std::optional<std::string> run() {
        for (RTFToken t = tokens_.next(); t.kind != RTFToken::Kind::End; t = tokens_.next()) {
            switch (t.kind) {
                case RTFToken::Kind::GroupStart:
                    groupStart();
                    break;
                case RTFToken::Kind::GroupEnd:
                    groupEnd();
                    if (groups_.empty()) return finish();
                    break;
                case RTFToken::Kind::ControlWord:
                    controlWord(t);
                    break;
                case RTFToken::Kind::ControlSymbol:
                    controlSymbol(t);
                    break;
                case RTFToken::Kind::HexByte:
                    groups_.clearMarks();
                    if (groups_.skipSubstitute(1)) break;
                    if (state_.destination == Destination::FontTable)
                        fonts_.hexByte(t.byte);
                    else if (emits())
                        out_.addByte(t.byte);
                    break;
                case RTFToken::Kind::Text:
                    text(t.text);
                    break;
                case RTFToken::Kind::Binary:
                case RTFToken::Kind::End:
                    break;
            }
        }
        return finish();
    }

  private:
    std::optional<std::string> finish() {
        std::string s = out_.take();
        if (s.empty()) return std::nullopt;
        return s;
    }

    bool emits() const {
        if (state_.destination == Destination::Tag) return true;
        return state_.destination == Destination::Content && !state_.suppressed;
    }

    void groupStart() {
        if (!groups_.open(state_)) tokens_.skipGroup();
    }

    void groupEnd() {
        const std::optional<GroupState> ended = groups_.close(state_);
        if (!ended) return;
        const GroupState& closing = *ended;
        if (closing.destination == Destination::FontTable) fonts_.endFont();
        if (closing.destination == Destination::Tag && state_.destination != Destination::Tag)
            justClosedTag_ = closingTag_;
        applyCodePage();
    }

    // Leaves the group just opened without reading it.
    void dropGroup() {
        groups_.drop(state_);
        tokens_.skipGroup();
    }

    void applyCodePage() {
        out_.setCodePage(
            fonts_.codePageOf(state_.font >= 0 ? state_.font : defaultFont_, ansiCodePage_));
    }

    void text(std::string_view t) {
        groups_.clearMarks();
        t.remove_prefix(groups_.skipSubstitute(t.size()));
        if (t.empty()) return;
        if (state_.destination == Destination::FontTable) {
            fonts_.text(t);
            return;
        }
        if (!emits()) return;
        justClosedTag_.reset();
        out_.addBytes(t);
    }

    void controlSymbol(const RTFToken& t) {
        const char c = t.word.empty() ? '\0' : t.word[0];
        if (c == '*') {
            groups_.star();
            return;
        }
        groups_.clearMarks();
        if (groups_.skipSubstitute(1) || !emits()) return;
        switch (c) {
            case '\\':
            case '{':
            case '}':
                out_.addBytes(t.word);
                break;
            case '~':
                out_.addUnicode(0xA0);
                break;
            case '_':
                out_.addUnicode(0x2011);
                break;
            default:
                break;
        }
    }

    // The first word of a group decides what the group is.
    bool destination(const RTFToken& t, bool starred) {
        const std::string_view w = t.word;
        if (w == "htmltag" || w == "mhtmltag") {
            const int32_t n = t.param.value_or(-1);
            // A tag rewritten for MIME (its URLs the cid: references of the attachments)
            // stands in for the plain tag of the same number that follows it.
            if (w == "htmltag" && justClosedTag_ && justClosedTag_->mhtml &&
                justClosedTag_->number == n) {
                justClosedTag_.reset();
                dropGroup();
                return true;
            }
            justClosedTag_.reset();
            closingTag_ = ClosedTag{w == "mhtmltag", n};
            state_.destination = Destination::Tag;
            return true;
        }
        if (w == "fonttbl") {
            state_.destination = Destination::FontTable;
            return true;
        }
        static constexpr std::array<std::string_view, 22> kSkipped{"colortbl",
                                                                   "stylesheet",
                                                                   "info",
                                                                   "pict",
                                                                   "fldinst",
                                                                   "header",
                                                                   "footer",
                                                                   "listtable",
                                                                   "listoverridetable",
                                                                   "rsidtbl",
                                                                   "generator",
                                                                   "xmlnstbl",
                                                                   "themedata",
                                                                   "colorschememapping",
                                                                   "latentstyles",
                                                                   "datastore",
                                                                   "pntext",
                                                                   "listtext",
                                                                   "object",
                                                                   "nonshppict",
                                                                   "headerl",
                                                                   "headerr"};
        bool skip = starred;
        for (auto s : kSkipped)
            if (w == s) skip = true;
        if (!skip) return false;
        dropGroup();
        return true;
    }

    void controlWord(const RTFToken& t) {
        const std::string_view w = t.word;
        const int32_t p = t.param.value_or(0);
        // "\*" belongs before the first word of a group; elsewhere the word is ignored.
        const auto place = groups_.placeWord();
        if (place == RTFGroupStack<GroupState>::WordPlace::Ignored) return;
        if (place != RTFGroupStack<GroupState>::WordPlace::Inside &&
            destination(t, place == RTFGroupStack<GroupState>::WordPlace::FirstStarred))
            return;
        groups_.cancelSubstitute();
        if (state_.destination == Destination::FontTable) {
            fonts_.controlWord(w, p, ansiCodePage_);
            return;
        }
        if (w == "htmlrtf") {
            state_.suppressed = !t.param || *t.param != 0;
        } else if (w == "f") {
            state_.font = p;
            applyCodePage();
        } else if (w == "ansicpg") {
            if (p > 0) ansiCodePage_ = static_cast<uint32_t>(p);
            applyCodePage();
        } else if (w == "deff") {
            defaultFont_ = p;
            applyCodePage();
        } else if (w == "uc") {
            state_.unicodeSkip = p < 0 ? 0 : (p > 16 ? 16 : p);
        } else if (w == "u") {
            if (emits()) out_.addUnicode(p);
            groups_.expectSubstitute(static_cast<size_t>(state_.unicodeSkip));
        } else if (emits()) {
            struct Special {
                std::string_view word;
                char32_t cp;
            };
            static constexpr std::array<Special, 9> kSpecials{{{"emdash", 0x2014},
                                                               {"endash", 0x2013},
                                                               {"bullet", 0x2022},
                                                               {"lquote", 0x2018},
                                                               {"rquote", 0x2019},
                                                               {"ldblquote", 0x201C},
                                                               {"rdblquote", 0x201D},
                                                               {"tab", '\t'},
                                                               {"emspace", 0x2003}}};
            if (w == "par" || w == "line") {
                out_.addBytes("\r\n");
                justClosedTag_.reset();
                return;
            }
            for (const auto& s : kSpecials)
                if (w == s.word) {
                    out_.addUnicode(static_cast<int32_t>(s.cp));
                    justClosedTag_.reset();
                }
        }
    }

    struct ClosedTag {
        bool mhtml;
        int32_t number;
    };

    RTFTokenizer tokens_;
    RTFGroupStack<GroupState> groups_;
    GroupState state_;
    RTFFontTable fonts_;
    uint32_t ansiCodePage_ = 1252;
    int32_t defaultFont_ = 0;
    RTFTextDecoder out_;
    ClosedTag closingTag_{false, -1};
    std::optional<ClosedTag> justClosedTag_;
};

}  // namespace

RTFEncapsulation encapsulationOfRTF(std::string_view rtf) {
    RTFTokenizer tokens(rtf);
    int depth = 0;
    for (size_t i = 0; i < kHeaderTokens; ++i) {
        const RTFToken t = tokens.next();
        if (t.kind == RTFToken::Kind::End) break;
        if (t.kind == RTFToken::Kind::GroupStart && ++depth > 1) break;
        if (t.kind == RTFToken::Kind::GroupEnd || t.kind == RTFToken::Kind::Text) break;
        if (t.kind != RTFToken::Kind::ControlWord) continue;
        if (t.word == "fromhtml" && t.param.value_or(0) == 1) return RTFEncapsulation::HTML;
        if (t.word == "fromtext") return RTFEncapsulation::Text;
    }
    return RTFEncapsulation::None;
}

std::optional<std::string> decapsulateRTF(std::string_view rtf) {
    if (encapsulationOfRTF(rtf) == RTFEncapsulation::None) return std::nullopt;
    return Decapsulator(rtf).run();
}

}  // namespace qb
