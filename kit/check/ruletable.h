#pragma once

#include "kit/check/checkrules.h"

// The functions of the rules, for their table.
namespace keyreap {

// wholerules.cpp
void FindLackingEntries(const CheckInput& input, CheckPlaces& found);
void FindEntriesBesides(const CheckInput& input, CheckPlaces& found);
void FindOtherData(const CheckInput& input, CheckPlaces& found);
void FindFailingRegistrars(const CheckInput& input, CheckPlaces& found);
void FindClassesOfUser(const CheckInput& input, CheckPlaces& found);
void FindRemovalsByRegistration(const CheckInput& input, CheckPlaces& found);
void FindEntriesOfOtherView(const CheckInput& input, CheckPlaces& found);

// resultrules.cpp
void FindFailureOfRedirection(const CheckInput& input, CheckPlaces& found);
void FindFailureOfServer(const CheckInput& input, CheckPlaces& found);
void FindFailureOutside(const CheckInput& input, CheckPlaces& found);
void FindMissingDependencies(const CheckInput& input, CheckPlaces& found);
void FindForeignDependencies(const CheckInput& input, CheckPlaces& found);
void FindEntriesPastCapture(const CheckInput& input, CheckPlaces& found);
void FindEntriesAfterReturn(const CheckInput& input, CheckPlaces& found);

// worksrules.cpp
void FindClassesOfNoUse(const CheckInput& input, CheckPlaces& found);
void FindClassesOfRegistrationAlone(const CheckInput& input, CheckPlaces& found);

// cleanrules.cpp
void FindWhatIsLeft(const CheckInput& input, CheckPlaces& found);
void FindWhatIsTaken(const CheckInput& input, CheckPlaces& found);
void FindFailingRemovals(const CheckInput& input, CheckPlaces& found);

// noiserules.cpp
void FindNoise(const CheckInput& input, CheckPlaces& found);
void FindOncePerProcess(const CheckInput& input, CheckPlaces& found);
void FindRefusalsOfSecondTime(const CheckInput& input, CheckPlaces& found);

// samerules.cpp
void FindNamesOfMachine(const CheckInput& input, CheckPlaces& found);
void FindChangingData(const CheckInput& input, CheckPlaces& found);
void FindChangingEntries(const CheckInput& input, CheckPlaces& found);

// checkrules.cpp
void FindFillersOfCapture(const CheckInput& input, CheckPlaces& found);

} // namespace keyreap
