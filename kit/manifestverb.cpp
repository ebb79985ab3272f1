#include "kit/emit/xmltext.h"
#include "kit/hostfiles.h"
#include "kit/liveprogram.h"
#include "kit/manifest/manifestbuilder.h"
#include "kit/manifest/manifestwriter.h"
#include "kit/refusal.h"
#include "kit/temporaryfolder.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"
#include "pe/imageheaders.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "platform/core/text/utf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <optional>

namespace keyreap {

namespace {

struct ManifestWords {
    std::vector<std::string> captures;
    std::vector<std::string> servers;
    std::string client;
    bool isProved = false;
    std::string output;
};

constexpr std::wstring_view ending = L".manifest";

// The name without its last part, as .dll.
std::wstring Stem(const std::wstring& name) {
    const std::size_t dot = name.rfind(L'.');
    return dot == std::wstring::npos || dot == 0 ? name : name.substr(0, dot);
}

std::wstring NameOfFile(const std::string& file) {
    const std::optional<std::wstring> name = UnitsOfUtf8(FileNameOf(file));
    if (!name) {
        throw Refusal(file + ": its name isn't UTF-8");
    }
    return *name;
}

// That of the files that have code.
int BitnessOf(const std::vector<ServerFile>& servers) {
    std::optional<int> bitness;
    for (const ServerFile& file : servers) {
        const std::string name = ReadableUtf8(file.server.fileName);
        if (file.bitness && bitness && *file.bitness != *bitness) {
            throw Refusal(name + ": it is a " + std::to_string(*file.bitness) + "-bit file, and not of " +
                          std::to_string(*bitness) + " bits");
        }
        bitness = file.bitness ? file.bitness : bitness;
    }
    if (!bitness) {
        throw Refusal(ReadableUtf8(servers.front().server.fileName) +
                      ": a type library has no code, and so no manifest of its own");
    }
    return *bitness;
}

// A client with a manifest inside doesn't read the file beside it.
void CheckClient(const std::string& client, int bitness) {
    const auto content = ReadWholeFile(client);
    const ImageHeaders headers(content ? std::as_bytes(std::span(*content)) : std::span<const std::byte>());
    if (!headers.AreThere() || headers.IsDll()) {
        throw Refusal(client + (content ? ": it is no program" : ": the client's file can't be read"));
    }
    const std::optional<int> own = BitnessOf(headers);
    if (!own) {
        throw Refusal(client + ": it is for another machine than x86 and x64");
    }
    if (*own != bitness) {
        throw Refusal(client + ": it is a " + std::to_string(*own) + "-bit program, and the server is of " +
                      std::to_string(bitness) + " bits");
    }
    if (headers.HasManifest()) {
        throw Refusal(client +
                      ": it has a manifest inside, and so doesn't read one beside it; without --for the "
                      "manifest is an assembly, which the one inside can name as a dependency");
    }
}

// The system reads no other file for the client.
void CheckClientOutput(const ManifestWords& words) {
    const std::wstring wanted = NameOfFile(words.client) + std::wstring(ending);
    if (!words.output.empty() && !EqualFolded(NameOfFile(words.output), wanted)) {
        throw Refusal(words.output + ": the system reads the client's manifest only from " +
                      ReadableUtf8(wanted));
    }
}

// The loader looks for an assembly in a file with its name and .dll first.
std::wstring AssemblyNameOf(const ManifestWords& words, const std::vector<ServerFile>& servers) {
    if (!words.client.empty()) {
        CheckClientOutput(words);
        return Stem(NameOfFile(words.client));
    }
    if (words.output.empty()) {
        return Stem(servers.front().server.fileName) + L".classes";
    }
    const std::wstring file = NameOfFile(words.output);
    std::wstring name = Stem(file);
    if (!EqualFolded(file, name + std::wstring(ending))) {
        throw Refusal(words.output + ": the system finds an assembly only in a file that ends in .manifest");
    }
    const auto isServer = [&name](const ServerFile& server) {
        return EqualFolded(name, Stem(server.server.fileName)) || EqualFolded(name, server.server.fileName);
    };
    if (std::ranges::any_of(servers, isServer)) {
        throw Refusal(words.output +
                      ": an assembly can't have the name of its server, into which the system looks "
                      "first; " +
                      ReadableUtf8(Stem(servers.front().server.fileName)) + ".classes.manifest is possible");
    }
    return name;
}

// The files as they are installed, in a folder of their own: FILE=CAPTURED PATH may be anywhere.
void Lay(const ManifestWords& words, const TemporaryFolder& folder, const std::string& manifest,
         const std::string& bytes) {
    if (!WriteWholeFile(manifest, bytes)) {
        throw Refusal(manifest + ": it can't be written");
    }
    for (const std::string& word : words.servers) {
        const std::string file = ServerFileName(word);
        const auto content = ReadWholeFile(file);
        const std::string copy = folder.FileNamed(FileNameOf(file));
        if (!content ||
            !WriteWholeFile(copy, {reinterpret_cast<const char*>(content->data()), content->size()})) {
            throw Refusal(copy + ": it can't be written");
        }
    }
}

CreationRequest RequestOf(const ManifestWords& words, const ComManifest& manifest, const std::string& file) {
    CreationRequest request;
    request.bitness = manifest.bitness;
    request.manifest = WindowsPathOf(file);
    request.inputs = {file};
    for (const std::string& word : words.servers) {
        const std::wstring path = WindowsPathOf(ServerFileName(word));
        request.inputs.push_back(ServerFileName(word));
        request.folders.push_back(path.substr(0, path.rfind(L'\\')));
    }
    for (const ManifestFile& one : manifest.files) {
        for (const ManifestClass& created : one.classes) {
            request.classes.push_back({created.clsid, created.threadingModel});
        }
    }
    return request;
}

// What is wrong with a created class; empty if nothing is.
std::string Complaint(const CreatedClass& one) {
    if (!one.result) {
        return "the program ended while it was created";
    }
    if (*one.result > 0x7FFFFFFF) {
        constexpr std::size_t digits = 8;
        return "CoCreateInstance gave 0x" + ReadableUtf8(HexToText(*one.result, digits));
    }
    return one.isRegistered ? "it is registered on this machine, so that it was created proves nothing" : "";
}

// Creates each class by the manifest alone. Returns how the verb ends.
int Prove(const ManifestWords& words, const ComManifest& manifest, const std::string& bytes) {
    const TemporaryFolder folder;
    const std::string file = folder.FileNamed(
        ReadableUtf8(manifest.assemblyName + std::wstring(words.client.empty() ? L"" : L".exe")) +
        ReadableUtf8(ending));
    Lay(words, folder, file, bytes);
    const std::vector<CreatedClass> created = CreateClasses(RequestOf(words, manifest, file));
    std::size_t proven = 0;
    for (const CreatedClass& one : created) {
        const std::string complaint = Complaint(one);
        proven += complaint.empty() ? 1 : 0;
        if (!complaint.empty()) {
            Say(ReadableUtf8(one.clsid) + ": " + complaint);
        }
    }
    Say(std::to_string(proven) + " of " + std::to_string(created.size()) +
        " classes are created by the manifest alone");
    return proven == created.size() ? statusWhole : statusIncomplete;
}

void CheckNames(const ManifestSettings& settings) {
    std::vector<std::wstring> names = {settings.assemblyName};
    std::ranges::transform(settings.servers, std::back_inserter(names), &InstallServer::fileName);
    for (const std::wstring& name : names) {
        if (!IsXmlText(name)) {
            throw Refusal(ReadableUtf8(name) + ": its name has a character that no XML document can have");
        }
    }
}

int MakeManifest(const ManifestWords& words) {
    const std::vector<ServerFile> servers = ReadServers(words.servers);
    ManifestSettings settings;
    std::ranges::transform(servers, std::back_inserter(settings.servers), &ServerFile::server);
    settings.bitness = BitnessOf(servers);
    settings.assemblyName = AssemblyNameOf(words, servers);
    CheckNames(settings);
    if (!words.client.empty()) {
        CheckClient(words.client, settings.bitness);
    }
    std::vector<Capture> captures;
    std::ranges::transform(words.captures, std::back_inserter(captures), ReadCapture);
    std::vector<EmitNote> notes;
    const ComManifest manifest = ManifestOf(captures, settings, notes);
    const std::string bytes = WriteManifest(manifest);
    WriteResult(words.output, bytes);
    const int carried = SayNotes(notes);
    return std::max(carried, words.isProved ? Prove(words, manifest, bytes) : statusWhole);
}

} // namespace

void AddManifest(CLI::App& app, int& status) {
    const auto words = std::make_shared<ManifestWords>();
    CLI::App* const verb =
        app.add_subcommand("manifest", "Makes a manifest with which servers work without registration.");
    verb->add_option("CAPTURE", words->captures, "The .reg files")->required();
    verb->add_option("--server", words->servers,
                     "FILE or FILE=CAPTURED PATH: a server, and where it was captured")
        ->required()
        ->allow_extra_args(false);
    verb->add_option("--for", words->client, "The program whose own manifest it is");
    verb->add_flag("--prove", words->isProved, "Create each class by the manifest alone");
    verb->add_option("-o,--output", words->output, "The file to write, in the place of standard output");
    verb->callback([words, &status] { status = StatusOf([&words] { return MakeManifest(*words); }); });
}

} // namespace keyreap
