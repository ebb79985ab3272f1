#include "kit/manifest/flagwords.h"
#include "kit/manifest/manifestparts.h"
#include "platform/core/text/compare.h"
#include "regmodel/regplace.h"

#include <array>

namespace keyreap {

namespace {

constexpr std::wstring_view serverKey = L"InprocServer32";

// The aspects DVASPECT_CONTENT, DVASPECT_THUMBNAIL, DVASPECT_ICON and DVASPECT_DOCPRINT have these numbers.
constexpr std::array<std::wstring_view, miscStatusCount> miscStatusKeys = {
    L"MiscStatus", L"MiscStatus\\1", L"MiscStatus\\2", L"MiscStatus\\4", L"MiscStatus\\8"};

// The text of a piece list as it was captured, but for the paths of servers.
std::wstring ReadableText(const InstallValue& value) {
    return TextOfPieces(value.text, [](const Piece& piece) {
        return piece.kind == PieceKind::Literal ? piece.text : std::wstring(L"...");
    });
}

std::wstring ReasonAgainstServer(const ObjectEntries& object) {
    if (const InstallValue* const server = object.Find(serverKey)) {
        return L"belongs to a class of another file than the server: " + ReadableText(*server);
    }
    const bool isProgram = object.Find(L"LocalServer32") != nullptr || object.Find(L"LocalServer") != nullptr;
    return isProgram ? L"belongs to a class that a program makes, which no manifest can have"
                     : L"belongs to a class without InprocServer32, which no manifest can have";
}

void TakeMiscStatus(ObjectEntries& object, ManifestClass& one) {
    for (std::size_t i = 0; i < miscStatusCount; ++i) {
        const auto words = MiscStatusWords(object.Text(miscStatusKeys[i]));
        // An aspect without bits of its own has the general ones, the first.
        if (words && (!words->empty() || one.miscStatus[0].empty())) {
            one.miscStatus[i] = *words;
            object.Carry(miscStatusKeys[i]);
        }
    }
}

} // namespace

std::optional<std::size_t> ServerIn(const InstallValue* value) {
    const bool isPath = value != nullptr && value->text.size() == 1 && value->text[0].kind == PieceKind::File;
    return isPath ? std::optional(value->text[0].server) : std::nullopt;
}

std::variant<ClassPart, std::wstring> ClassPartOf(ObjectEntries& object, const LibraryParts& libraries) {
    const std::optional<std::size_t> server = ServerIn(object.Find(serverKey));
    if (!server) {
        return ReasonAgainstServer(object);
    }
    if (!object.IsText(serverKey, L"ThreadingModel")) {
        return L"belongs to a class whose threading model is none for which manifests have a word";
    }
    const std::wstring model = object.Text(serverKey, L"ThreadingModel");
    const std::optional<std::wstring> word = ThreadingModelWord(model);
    if (!word) {
        return L"belongs to a class with the threading model '" + model +
               L"', for which manifests have no word";
    }
    ManifestClass one;
    one.clsid = object.Id();
    one.threadingModel = *word;
    object.Carry(serverKey);
    object.Carry(serverKey, L"ThreadingModel");
    one.description = object.TakeText({});
    if (const std::wstring tlbid = object.Text(L"TypeLib"); IsGuidText(tlbid)) {
        one.tlbid = object.TakeText(L"TypeLib");
    }
    const auto library = libraries.find(FoldedText(one.tlbid));
    if (library != libraries.end() &&
        DecimalVersion(object.Text(L"Version")) == library->second.part.version) {
        object.Carry(L"Version");
    }
    TakeMiscStatus(object, one);
    return ClassPart{*server, one};
}

} // namespace keyreap
