#pragma once

#include "kit/lint/lintrules.h"

// The functions of the rules, for their table.
namespace keyreap {

// capturerules.cpp: the capture itself
void FindEmptyCapture(const LintInput& input, Findings& findings);
void FindFillers(const LintInput& input, Findings& findings);
void FindStrayNames(const LintInput& input, Findings& findings);
void FindUnsetValues(const LintInput& input, Findings& findings);
void FindAmbiguities(const LintInput& input, Findings& findings);

// classrules.cpp: what refers to something else
void FindClassesWithoutServer(const LintInput& input, Findings& findings);
void FindMissingThreadingModels(const LintInput& input, Findings& findings);
void FindUnknownThreadingModels(const LintInput& input, Findings& findings);
void FindMissingProgIds(const LintInput& input, Findings& findings);
void FindProgIdsWithoutClass(const LintInput& input, Findings& findings);
void FindMissingTypeLibs(const LintInput& input, Findings& findings);
void FindInterfacesWithoutProxy(const LintInput& input, Findings& findings);

// pathrules.cpp
void FindForeignPaths(const LintInput& input, Findings& findings);
void FindMissingQuotes(const LintInput& input, Findings& findings);

// sharedrules.cpp: what isn't the server's alone, or isn't where it belongs
void FindObjectsOfSystem(const LintInput& input, Findings& findings);
void FindEntriesOfLibraries(const LintInput& input, Findings& findings);
void FindKeysOfUsers(const LintInput& input, Findings& findings);
void FindOtherView(const LintInput& input, Findings& findings);

// permissionrules.cpp
void FindOpenPermissions(const LintInput& input, Findings& findings);

// differencerules.cpp: against an older capture
void FindGone(const LintInput& input, Findings& findings);
void FindNew(const LintInput& input, Findings& findings);
void FindChanged(const LintInput& input, Findings& findings);

} // namespace keyreap
