#include "kit/check/foundentries.h"
#include "kit/check/ruletable.h"

// Whether objects of the captured classes can be created.
namespace keyreap {

namespace {

bool Works(const std::optional<std::uint32_t>& result) {
    return result && !IsFailure(*result);
}

std::wstring Outcome(const std::optional<std::uint32_t>& result) {
    return result ? L"CoCreateInstance gives " + ResultText(*result) : L"its creation ends the program";
}

std::wstring KeyOf(const ClassFact& one) {
    return L"HKEY_CLASSES_ROOT\\CLSID\\" + one.clsid;
}

} // namespace

void FindClassesOfRegistrationAlone(const CheckInput& input, CheckPlaces& found) {
    for (const ClassFact& one : input.facts.classes) {
        if (!Works(one.byCapture) && Works(one.byRegistration)) {
            found.push_back({{},
                             KeyOf(one),
                             std::nullopt,
                             Outcome(one.byCapture) +
                                 L" after an import of the capture, and works after a registration"});
        }
    }
}

void FindClassesOfNoUse(const CheckInput& input, CheckPlaces& found) {
    for (const ClassFact& one : input.facts.classes) {
        if (!Works(one.byCapture) && !Works(one.byRegistration)) {
            std::wstring sentence = Outcome(one.byCapture) + L" after an import of the capture, ";
            sentence += one.byCapture == one.byRegistration
                            ? L"and so it does after a registration"
                            : L"and after a registration " + Outcome(one.byRegistration);
            found.push_back({{}, KeyOf(one), std::nullopt, sentence});
        }
    }
}

} // namespace keyreap
