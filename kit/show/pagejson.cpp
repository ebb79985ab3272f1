#include "kit/show/pagejson.h"

#include "kit/show/capturetree.h"
#include "kit/show/entryview.h"
#include "kit/show/jsonwriter.h"
#include "kit/show/objectlist.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr std::array<std::wstring_view, 9> kindNames = {L"class",     L"interface",      L"typeLib",
                                                        L"progId",    L"appId",          L"category",
                                                        L"extension", L"shellExtension", L"service"};

void WriteIndex(JsonWriter& writer, std::size_t index) {
    if (index == CaptureTree::none) {
        writer.Null();
    } else {
        writer.Number(index);
    }
}

void WriteValue(JsonWriter& writer, const ComparedValue& value) {
    writer.BeginObject().Name("name").Text(value.name).Name("data").BeginArray();
    for (const std::size_t index : value.data) {
        WriteIndex(writer, index);
    }
    writer.EndArray().EndObject();
}

void WriteKey(JsonWriter& writer, const ComparedKey& key) {
    writer.BeginObject().Name("name").Text(key.name).Name("parent");
    WriteIndex(writer, key.parent);
    writer.Name("states").BeginArray();
    for (const KeyState state : key.states) {
        writer.Number(static_cast<std::size_t>(state));
    }
    writer.EndArray().Name("values").BeginArray();
    for (const ComparedValue& value : key.values) {
        WriteValue(writer, value);
    }
    writer.EndArray().EndObject();
}

void WriteEntry(JsonWriter& writer, const RegEntry& entry) {
    const EntryView view = ViewOf(entry);
    writer.BeginObject().Name("type").Text(view.type).Name("texts").BeginArray();
    for (const std::wstring& text : view.texts) {
        writer.Text(text);
    }
    writer.EndArray().Name("left").Number(view.left).Name("remark").Text(view.remark).EndObject();
}

class ObjectWriter {
public:
    ObjectWriter(JsonWriter& writer, const std::vector<ComparedObject>& objects)
        : writer(writer), targets(objects) {}

    void Write(const ComparedObject& object) {
        writer.BeginObject().Name("kind").Text(kindNames[static_cast<std::size_t>(object.identity.kind)]);
        writer.Name("id").Text(object.id).Name("name").Text(object.name);
        writer.Name("scope").Text(ScopeText(object.identity.scope)).Name("keys").BeginArray();
        for (const std::size_t key : object.keys) {
            writer.Number(key);
        }
        writer.EndArray().Name("texts").BeginArray();
        for (const auto& texts : object.texts) {
            if (texts) {
                WriteTexts(object, *texts);
            } else {
                writer.Null();
            }
        }
        writer.EndArray().EndObject();
    }

private:
    void WriteTexts(const ComparedObject& object, const std::vector<ObjectText>& texts) {
        writer.BeginArray();
        for (const ObjectText& text : texts) {
            writer.BeginArray().Text(text.label).Text(text.text);
            WriteIndex(writer, targets.IndexOf(object, text));
            writer.EndArray();
        }
        writer.EndArray();
    }

    JsonWriter& writer;
    ObjectTargets targets;
};

// A place that can be read in two ways is a finding without a rule.
std::vector<PageFinding> Ambiguities(std::span<const PageCapture> captures) {
    std::vector<PageFinding> findings;
    for (std::size_t capture = 0; capture < captures.size(); ++capture) {
        for (const RegAmbiguity& ambiguity : captures[capture].document.ambiguities) {
            findings.push_back({capture, L"", L"", std::nullopt,
                                L"line " + std::to_wstring(ambiguity.line) + L": " + ambiguity.reading});
        }
    }
    return findings;
}

void WriteFinding(JsonWriter& writer, const PageFinding& finding, const CaptureTree& tree) {
    writer.BeginObject().Name("capture").Number(finding.capture).Name("rule").Text(finding.rule);
    writer.Name("key");
    WriteIndex(writer, finding.key.empty() ? CaptureTree::none : tree.Find(finding.key));
    writer.Name("path").Text(finding.key).Name("value");
    if (finding.value) {
        writer.Text(*finding.value);
    } else {
        writer.Null();
    }
    writer.Name("sentence").Text(finding.sentence).EndObject();
}

template <typename List, typename Write>
void WriteList(JsonWriter& writer, std::string_view name, const List& list, Write write) {
    writer.Name(name).BeginArray();
    for (const auto& one : list) {
        write(one);
    }
    writer.EndArray();
}

} // namespace

std::string PageJson(std::span<const PageCapture> captures, std::span<const PageFinding> findings) {
    const CaptureTree tree(captures);
    const std::vector<ComparedObject> objects = ObjectsOf(captures, tree);
    JsonWriter writer;
    ObjectWriter objectWriter(writer, objects);
    const auto writeFinding = [&writer, &tree](const PageFinding& finding) {
        WriteFinding(writer, finding, tree);
    };
    writer.BeginObject();
    WriteList(writer, "captures", captures,
              [&writer](const PageCapture& capture) { writer.Text(capture.name); });
    WriteList(writer, "keys", tree.Keys(), [&writer](const ComparedKey& key) { WriteKey(writer, key); });
    WriteList(writer, "data", tree.Data(), [&writer](const RegEntry* entry) { WriteEntry(writer, *entry); });
    WriteList(writer, "objects", objects,
              [&objectWriter](const ComparedObject& object) { objectWriter.Write(object); });
    std::vector<PageFinding> all = Ambiguities(captures);
    all.insert(all.begin(), findings.begin(), findings.end());
    WriteList(writer, "findings", all, writeFinding);
    writer.EndObject();
    return writer.Json();
}

} // namespace keyreap
