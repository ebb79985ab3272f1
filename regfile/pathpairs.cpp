#include "regfile/pathpairs.h"

namespace keyreap {

void AddPathPairs(PathPairs& pairs, const WidePath& temporaryPath, const WidePath& finalPath) {
    pairs.push_back({temporaryPath.ExtendedLengthForm(), finalPath.ExtendedLengthForm()});
    pairs.push_back({temporaryPath.Parent().ExtendedLengthForm(), finalPath.Parent().ExtendedLengthForm()});
}

PathPairs FormPathPairs(const WidePath& filePath, const WidePath& originalFilePath,
                        const std::vector<WidePath>& stagedTypeLibs) {
    PathPairs pairs;
    if (!stagedTypeLibs.empty() || !originalFilePath.IsEmpty()) {
        AddPathPairs(pairs, stagedTypeLibs.empty() ? filePath : stagedTypeLibs.front(),
                     originalFilePath.IsEmpty() ? filePath : originalFilePath);
    }
    return pairs;
}

} // namespace keyreap
