#include "kit/live/question.h"
#include "kit/live/requesttext.h"
#include "pe/dependencywalker.h"
#include "pe/imagetables.h"
#include "pe/peimage.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "platform/os/comapartment.h"
#include "platform/os/file/widepath.h"

#include <windows.h>

#include <algorithm>

namespace keyreap {

namespace {

using Json = nlohmann::json;

// Without the prefix that lifts the limit of a path's length.
std::wstring PlainPath(const std::wstring& path) {
    return WidePath(path).Text();
}

int BitnessOf(const std::wstring& path) {
    PeImage image(WidePath(path).ExtendedLengthForm());
    if (!image.IsPeFile()) {
        return 0;
    }
    return image.Is64Bit() ? 64 : 32;
}

// What a whole walk found, by the names in the files' import tables.
class Dependencies {
public:
    explicit Dependencies(const std::wstring& server) : server(server) {
        // The system's folders are found by an object.
        const ComApartment apartment;
        error = DependencyWalker(server).CollectDependencies(found);
    }

    std::uint32_t Error() const { return error; }

    void AnswerAll() const {
        AnswerOf(server);
        for (const DependencyRecord& record : found) {
            if (record.isSystem == 0 && !record.path.empty()) {
                AnswerOf(record.path);
            }
        }
    }

private:
    void AnswerOf(const std::wstring& importer) const {
        PeImage image(WidePath(importer).ExtendedLengthForm());
        if (const std::byte* const first = image.ImportDirectory()) {
            AnswerNames(importer, false,
                        DllNames(image.View(), DescriptorTable::Imports(first), image.Resolver()));
        }
        const std::byte* const delayed =
            image.FindNtHeaders()
                ? image.DirectoryData(delayImportDirectoryEntry, DescriptorTable::delayImportEntrySize)
                : nullptr;
        if (delayed != nullptr) {
            AnswerNames(importer, true,
                        DllNames(image.View(), DescriptorTable::DelayImports(delayed), image.Resolver()));
        }
    }

    void AnswerNames(const std::wstring& importer, bool isDelayed,
                     const std::vector<std::string_view>& names) const {
        for (const std::string_view bytes : names) {
            const std::wstring name = WidenBytes(bytes);
            const std::wstring path = PathOf(name);
            Answer({{"name", ReadableUtf8(name)},
                    {"path", ReadableUtf8(PlainPath(path))},
                    {"bitness", path.empty() ? 0 : BitnessOf(path)},
                    {"isDelayed", isDelayed},
                    {"importer", ReadableUtf8(WidePath(importer).FileName())}});
        }
    }

    std::wstring PathOf(const std::wstring& name) const {
        const auto isOfName = [&name](const DependencyRecord& one) { return EqualFolded(one.name, name); };
        const auto record = std::ranges::find_if(found, isOfName);
        return record == found.end() ? std::wstring() : record->path;
    }

    std::wstring server;
    DependencyList found;
    std::uint32_t error = 0;
};

} // namespace

void AnswerDependencies(const Json& request) {
    const Dependencies dependencies(TextOf(request, "server"));
    if (dependencies.Error() != 0) {
        Answer({{"failure", "CollectDependencies"}, {"error", dependencies.Error()}});
        return;
    }
    dependencies.AnswerAll();
}

} // namespace keyreap
