#include "kit/show/showpage.h"

#include "kit/show/base64.h"
#include "kit/show/pagejson.h"
#include "kit/show/pageparts.h"

#include <stdexcept>

namespace keyreap {

namespace {

// The frame has each of these once. What is put in their places isn't searched.
constexpr std::string_view policyMark = "{{policy}}";
constexpr std::string_view styleMark = "{{style}}";
constexpr std::string_view scriptMark = "{{script}}";
constexpr std::string_view dataMark = "{{data}}";

std::string SourceOf(const PagePart& part) {
    return "'sha256-" + Base64Of(part.digest) + "'";
}

// Nothing is loaded, nothing is sent, and no text becomes markup.
std::string Policy() {
    return "default-src 'none'; script-src " + SourceOf(PageScript()) + "; style-src " +
           SourceOf(PageStyle()) +
           "; base-uri 'none'; form-action 'none'; require-trusted-types-for 'script'; trusted-types 'none'";
}

class Frame {
public:
    explicit Frame(std::string_view rest) : rest(rest) {}

    // Goes on to the mark, which has to follow, and writes the text in its place.
    void Fill(std::string_view mark, std::string_view text) {
        const std::size_t at = rest.find(mark);
        if (at == std::string_view::npos) {
            throw std::logic_error("the frame of the page lacks a mark");
        }
        page.append(rest.substr(0, at)).append(text);
        rest.remove_prefix(at + mark.size());
    }

    std::string Whole() { return std::move(page.append(rest)); }

private:
    std::string_view rest;
    std::string page;
};

} // namespace

std::string ShowPage(std::span<const PageCapture> captures, std::span<const PageFinding> findings) {
    Frame frame(PageFrame().text);
    frame.Fill(policyMark, Policy());
    frame.Fill(styleMark, PageStyle().text);
    frame.Fill(dataMark, PageJson(captures, findings));
    frame.Fill(scriptMark, PageScript().text);
    return frame.Whole();
}

} // namespace keyreap
