#include "kit/emit/emitwriters.h"
#include "kit/emit/modeljson.h"
#include "kit/emit/scripttext.h"
#include "platform/core/text/utf8.h"
#include "regfile/valuetext.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace keyreap {

namespace {

using Json = nlohmann::ordered_json;

std::string Text(std::wstring_view units) {
    return ReadableUtf8(units);
}

const char* NameOf(InstallRoot root) {
    switch (root) {
    case InstallRoot::LocalMachine:
        return "HKEY_LOCAL_MACHINE";
    case InstallRoot::CurrentUser:
        return "HKEY_CURRENT_USER";
    case InstallRoot::Users:
        return "HKEY_USERS";
    default:
        return "HKEY_CURRENT_CONFIG";
    }
}

Json PiecesJson(const PieceText& pieces, const InstallData& data) {
    Json list = Json::array();
    for (const Piece& piece : pieces) {
        switch (piece.kind) {
        case PieceKind::File:
            list.push_back({{"file", Text(data.servers[piece.server].fileName)}});
            break;
        case PieceKind::Directory:
            list.push_back({{"directory", Text(piece.text)}});
            break;
        default:
            list.push_back({{"literal", Text(piece.text)}});
        }
    }
    return list;
}

Json ValueJson(const InstallValue& value, const InstallData& data) {
    Json json = {{"name", PiecesJson(value.name, data)}, {"type", value.type}};
    switch (static_cast<RegType>(value.type)) {
    case RegType::Sz:
    case RegType::ExpandSz:
        json["text"] = PiecesJson(value.text, data);
        break;
    case RegType::MultiSz: {
        Json list = Json::array();
        for (const PieceText& text : value.list) {
            list.push_back(PiecesJson(text, data));
        }
        json["list"] = list;
        break;
    }
    case RegType::Dword:
        json["number"] = value.number;
        break;
    default:
        json["bytes"] = Text(HexDigitsOf(value.data, L""));
    }
    return json;
}

// Half a character has no UTF-8.
bool IsCarried(const InstallValue& value) {
    const auto isWhole = [](const PieceText& pieces) {
        return std::ranges::all_of(pieces,
                                   [](const Piece& piece) { return Utf8OfUnits(piece.text).has_value(); });
    };
    return isWhole(value.name) && isWhole(value.text) && std::ranges::all_of(value.list, isWhole);
}

Json KeyJson(const InstallKey& key, const InstallData& data, std::vector<EmitNote>& notes) {
    Json values = Json::array();
    for (const InstallValue& value : key.values) {
        if (IsCarried(value)) {
            values.push_back(ValueJson(value, data));
        } else {
            notes.push_back({value.place, L"has half a character, for which there is no UTF-8"});
        }
    }
    return {{"root", NameOf(key.root)}, {"path", Text(key.path)}, {"values", values}};
}

Json ComponentJson(const InstallComponent& component, const InstallData& data, std::vector<EmitNote>& notes) {
    Json keys = Json::array();
    for (const InstallKey& key : component.keys) {
        if (Utf8OfUnits(key.path)) {
            keys.push_back(KeyJson(key, data, notes));
        } else {
            AddNotes(notes, key, L"has half a character, for which there is no UTF-8");
        }
    }
    return {{"id", Text(component.id)},
            {"guid", Text(component.guid)},
            {"server", Text(data.servers[component.server].fileName)},
            {"isKept", component.isKept},
            {"isPerUser", component.isPerUser},
            {"keys", keys}};
}

Json ServerJson(const InstallServer& server) {
    return {{"file", Text(server.fileName)},
            {"id", Text(server.id)},
            {"capturedPath", Text(server.capturedPath)},
            {"typeLibraries", server.typeLibraries}};
}

} // namespace

std::string WriteJson(const InstallData& data, std::span<const Capture> captures,
                      std::vector<EmitNote>& notes) {
    Json json = {{"product", Text(data.product)},
                 {"scope", data.scope == InstallScope::Machine ? "machine" : "user"},
                 {"bitness", data.bitness},
                 {"directory", Text(data.directory)},
                 {"name", Text(data.name)}};
    json["servers"] = Json::array();
    std::ranges::for_each(data.servers, [&json](const InstallServer& server) {
        json["servers"].push_back(ServerJson(server));
    });
    json["components"] = Json::array();
    for (const InstallComponent& component : data.components) {
        json["components"].push_back(ComponentJson(component, data, notes));
    }
    json["objects"] = Json::array();
    for (const Capture& capture : captures) {
        AppendObjects(json["objects"], capture.document);
    }
    return json.dump(2) + "\n";
}

} // namespace keyreap
