#pragma once

#include "kit/explain/story.h"

#include <cstddef>
#include <string>

namespace keyreap {

// Why an operation is in the result, or why not.
enum class Verdict {
    InResult,
    InResultBelow, // a key that the keys below it imply
    Overwritten,   // by `other`
    DeletedAgain,  // by `other`
    Undone,        // a removal of what `other` had made
    OldRemoved,    // a removal of what was there before, which no result has
    OnlyOpened,    // the key or value was there
    NotFound,      // nowhere in the registry
    EmptyThere,    // not in the redirected tree, but in the registry
    NotYetThere,   // it is made later
    Unwatched,     // by another process
    OtherView,     // of the registry
    NotRedirected, // in the registry itself, which the result isn't made from
    AfterTrace,
    Systems,          // noise of the system, or a control set without recorded values
    Cut,              // off by the ceiling of the log
    Filler,           // for the reason `cause`
    Renamed,          // a renaming, or something below a key that `other` renames
    OldName,          // a key that `other` renames, and that the result has under its old name
    EmptyKeyWithKeys, // a key without values that a trace takes for implied by keys which don't last
    NothingRemoved,   // a removal of what was missing
    Refused,          // by the system
    Lost,             // none of these reasons is known to hold
};

// Why the result has a filler in the place of a value's data.
enum class FillerCause {
    None,
    KeyRenamed,   // by `other`
    Deleted,      // the value, or its key, by `other`
    OtherView,    // the data are in the other view
    KeyNotOpened, // with the status `cause status` when the result was made
    Unknown,
};

struct JudgedOperation {
    std::size_t operation = noIndex; // of the story
    std::wstring key;                // as the server named it
    std::wstring newKey;             // of a renaming: what it was renamed to
    bool hasNewKey = false;          // the result has that key
    Verdict verdict = Verdict::Lost;
    std::size_t other = noIndex; // another operation of the story
    FillerCause cause = FillerCause::None;
    std::uint32_t causeStatus = 0;
};

} // namespace keyreap
