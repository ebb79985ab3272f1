#include "kit/emit/componentnames.h"
#include "kit/emit/emitwriters.h"
#include "kit/emit/stableguid.h"
#include "kit/emitnoise.h"
#include "kit/hostfiles.h"
#include "kit/refusal.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"
#include "platform/core/text/utf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>

namespace keyreap {

namespace {

// What the command line has, and what it means.
struct EmitWords {
    std::string kind;
    std::vector<std::string> captures;
    std::string product;
    std::vector<std::string> servers;
    std::string directory;
    std::vector<std::string> replacements;
    std::string scope = "machine";
    std::string bitness;
    std::string noise = "fail";
    std::string output;
    bool isNative = false;
};

using Writer =
    std::function<std::string(const InstallData&, std::span<const Capture>, std::vector<EmitNote>&)>;

// Installers with identifiers have the folder's name as one; in others it is a text of the script.
enum class FolderName { Identifier, ScriptText };

struct EmitKind {
    std::string name;
    FolderName folderName;
    std::string folder; // without --directory
    Writer write;
    Writer writeNative; // empty: the kind has no elements but those of values
};

template <typename Function>
Writer Plain(Function function) {
    return [function](const InstallData& data, std::span<const Capture>, std::vector<EmitNote>& notes) {
        return function(data, notes);
    };
}

template <WixVersion version, WixForm form>
std::string WriteWixOf(const InstallData& data, std::vector<EmitNote>& notes) {
    return WriteWix(data, version, form, notes);
}

template <WixVersion version>
EmitKind WixKind(const std::string& name) {
    return {name, FolderName::Identifier, "INSTALLFOLDER", Plain(WriteWixOf<version, WixForm::Values>),
            Plain(WriteWixOf<version, WixForm::Native>)};
}

const std::array<EmitKind, 7>& Kinds() {
    static const std::array<EmitKind, 7> kinds = {{
        WixKind<WixVersion::Four>("wix"),
        WixKind<WixVersion::Three>("wix3"),
        {"wixl", FolderName::Identifier, "INSTALLFOLDER", Plain(WriteWixl), {}},
        {"nsis", FolderName::ScriptText, "$INSTDIR", Plain(WriteNsis), {}},
        {"inno", FolderName::ScriptText, "{app}", Plain(WriteInno), {}},
        {"reg", FolderName::ScriptText, "INSTALLFOLDER", Plain(WriteReg), {}},
        {"json", FolderName::ScriptText, "INSTALLFOLDER", WriteJson, {}},
    }};
    return kinds;
}

const EmitKind& KindOf(const std::string& name) {
    return *std::ranges::find(Kinds(), name, &EmitKind::name);
}

const Writer& WriterOf(const EmitKind& kind, const EmitWords& words) {
    if (words.isNative && !kind.writeNative) {
        throw Refusal("--native: it is for wix and wix3, and not for " + kind.name);
    }
    return words.isNative ? kind.writeNative : kind.write;
}

std::wstring Units(const std::string& word, const std::string& option) {
    const std::optional<std::wstring> units = UnitsOfUtf8(word);
    if (!units || units->empty() || units->find_first_of(L"\"\r\n") != std::wstring::npos) {
        throw Refusal(option + ": there can't be a name '" + word + "'");
    }
    return *units;
}

// The name of a folder in the installer. A number sign begins the identifier of a file.
std::wstring FolderOf(const std::string& word, const EmitKind& kind, const std::string& option) {
    std::wstring name = Units(word, option);
    const std::wstring identifier = name.starts_with(L'#') ? name.substr(1) : name;
    if (kind.folderName == FolderName::Identifier && IdentifierOf(identifier) != identifier) {
        throw Refusal(option + ": '" + word + "' is no identifier, which " + kind.name + " needs");
    }
    return name;
}

CapturedPath ReplacementOf(const std::string& word, const EmitKind& kind) {
    const std::size_t sign = word.rfind('=');
    const std::wstring path = sign == std::string::npos ? L"" : WindowsPathOf(word.substr(0, sign));
    if (sign == 0 || path.empty()) {
        throw Refusal("--replace: '" + word + "' is not PATH=NAME");
    }
    return {path, false, {PieceKind::Directory, FolderOf(word.substr(sign + 1), kind, "--replace"), 0}};
}

std::string NameOf(const ServerFile& file) {
    return ReadableUtf8(file.server.fileName);
}

// That of the servers, which --bitness has to agree with.
int BitnessOf(const EmitWords& words, const std::vector<ServerFile>& servers) {
    std::optional<int> bitness;
    if (!words.bitness.empty()) {
        bitness = words.bitness == "64" ? 64 : 32;
    }
    for (const ServerFile& file : servers) {
        if (file.bitness && bitness && *file.bitness != *bitness) {
            throw Refusal(NameOf(file) + ": it is a " + std::to_string(*file.bitness) +
                          "-bit file, and not of " + std::to_string(*bitness) + " bits");
        }
        bitness = file.bitness ? file.bitness : bitness;
    }
    if (!bitness) {
        throw Refusal(NameOf(servers.front()) + ": a type library has no bitness; --bitness says it");
    }
    return *bitness;
}

InstallSettings SettingsOf(const EmitWords& words, const EmitKind& kind) {
    InstallSettings settings;
    const std::optional<std::wstring> text = UnitsOfUtf8(words.product);
    const std::optional<Guid> product = text ? WholeGuid(*text) : std::nullopt;
    if (!product) {
        throw Refusal("--product: '" + words.product + "' is no GUID");
    }
    settings.product = *product;
    settings.scope = words.scope == "user" ? InstallScope::User : InstallScope::Machine;
    settings.directory =
        FolderOf(words.directory.empty() ? kind.folder : words.directory, kind, "--directory");
    const std::vector<ServerFile> servers = ReadServers(words.servers);
    settings.bitness = BitnessOf(words, servers);
    std::ranges::transform(servers, std::back_inserter(settings.servers), &ServerFile::server);
    for (const std::string& word : words.replacements) {
        settings.replacements.push_back(ReplacementOf(word, kind));
    }
    return settings;
}

NoiseChoice NoiseChoiceOf(const std::string& word) {
    if (word == "keep") {
        return NoiseChoice::Keep;
    }
    return word == "drop" ? NoiseChoice::Drop : NoiseChoice::Fail;
}

int Emit(const EmitWords& words) {
    const EmitKind& kind = KindOf(words.kind);
    const Writer& write = WriterOf(kind, words);
    const InstallSettings settings = SettingsOf(words, kind);
    const std::optional<std::vector<Capture>> captures =
        CapturesToEmit(words.captures, NoiseChoiceOf(words.noise));
    if (!captures) {
        return statusRefused;
    }
    std::vector<EmitNote> notes;
    const InstallData data = InstallDataOf(*captures, settings, notes);
    WriteResult(words.output, write(data, *captures, notes));
    return SayNotes(notes);
}

} // namespace

void AddEmit(CLI::App& app, int& status) {
    const auto words = std::make_shared<EmitWords>();
    std::vector<std::string> kinds;
    std::ranges::transform(Kinds(), std::back_inserter(kinds), &EmitKind::name);
    CLI::App* const verb = app.add_subcommand("emit", "Makes a part of an installer from captures.");
    verb->add_option("KIND", words->kind, "The kind of installer")->required()->check(CLI::IsMember(kinds));
    verb->add_option("CAPTURE", words->captures, "The .reg files")->required();
    verb->add_option("--product", words->product, "The product's GUID, from which the components' follow")
        ->required();
    verb->add_option("--server", words->servers,
                     "FILE or FILE=CAPTURED PATH: an installed server, and where it was captured")
        ->required()
        ->allow_extra_args(false);
    verb->add_option("--directory", words->directory, "The installer's name for the servers' folder");
    verb->add_option("--replace", words->replacements,
                     "PATH=NAME: another folder, and the installer's name for it")
        ->allow_extra_args(false);
    verb->add_option("--scope", words->scope, "For whom it is installed")
        ->check(CLI::IsMember(std::vector<std::string>{"machine", "user"}));
    verb->add_option("--bitness", words->bitness, "Of type libraries, which have none of their own")
        ->check(CLI::IsMember(std::vector<std::string>{"32", "64"}));
    verb->add_option("--noise", words->noise,
                     "What becomes of entries that 'keykit check' found to be a system library's")
        ->check(CLI::IsMember(std::vector<std::string>{"keep", "drop", "fail"}));
    verb->add_flag("--native", words->isNative,
                   "For wix and wix3: Class, ProgId, TypeLib and Interface where they say the same");
    verb->add_option("-o,--output", words->output, "The file to write, in the place of standard output");
    verb->callback([words, &status] { status = StatusOf([&words] { return Emit(*words); }); });
}

} // namespace keyreap
