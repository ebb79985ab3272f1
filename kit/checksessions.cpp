#include "kit/checksessions.h"

#include "kit/checksteps.h"
#include "kit/explainer.h"
#include "kit/hostfiles.h"
#include "kit/livefacts.h"
#include "kit/liveoutput.h"
#include "kit/liveprogram.h"
#include "kit/otherfolder.h"
#include "kit/refusal.h"
#include "kit/temporaryfolder.h"
#include "kit/verbfiles.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/utf8.h"
#include "regmodel/registrymodel.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

using Json = nlohmann::json;

// Names that no text contains by chance.
struct Names {
    const char* user;
    const char* computer;
};
constexpr Names namesHere = {"checkinghere", "KEYREAPTHIS"};
constexpr Names namesElsewhere = {"checkingthere", "KEYREAPTHAT"};

// How long a thread of the server may take that goes on after its registration, in milliseconds.
constexpr int lingering = 600;

bool Has(std::span<const CheckPart> parts, CheckPart part) {
    return std::ranges::find(parts, part) != parts.end();
}

void Run(LiveSteps& steps, const LiveSession& session) {
    steps.TakeAnswers(AnswersOf(session, steps.Request()));
}

constexpr std::wstring_view ofLibrary = L"InprocServer32";
constexpr std::wstring_view ofProgram = L"LocalServer32";

// How objects of a class are made: in the process if they can be. Null if no server is known.
const ServerFacts* WayOf(const ClassFacts& facts) {
    for (const std::wstring_view kind : {ofLibrary, ofProgram}) {
        const auto isIt = [kind](const ServerFacts& way) { return EqualFolded(way.kind, kind); };
        if (const auto way = std::ranges::find_if(facts.servers, isIt); way != facts.servers.end()) {
            return &*way;
        }
    }
    return nullptr;
}

// An answer's list of names.
Json ListIn(const std::vector<Json>& answers, const char* name) {
    for (const Json& answer : answers) {
        const auto found = answer.find(name);
        if (found != answer.end() && found->is_array()) {
            return *found;
        }
    }
    return Json::array();
}

class Sessions {
public:
    Sessions(const CheckedServer& server, const Capture& capture, const std::string& captureFile,
             std::span<const CheckPart> parts)
        : server(server), capture(capture), captureFile(captureFile), parts(parts) {
        facts.bitness = server.bitness;
        facts.server = server.path;
    }

    CheckFacts Find() {
        // This machine itself always has its classes.
        if ((Wants(CheckPart::Whole) || Wants(CheckPart::Clean)) && SessionsAreThrownAway()) {
            FindInEmpty();
        }
        if (Wants(CheckPart::Whole) || Wants(CheckPart::Clean) || Wants(CheckPart::Result) ||
            (Wants(CheckPart::Noise) && SessionsAreThrownAway())) {
            FindInFull();
        }
        if (Wants(CheckPart::Works)) {
            FindCreated();
        }
        // A program's own process isn't redirected, so that it is captured in one way alone.
        if (server.hasExport || server.hasTypeLib) {
            FindCaptures();
        }
        return std::move(facts);
    }

private:
    bool Wants(CheckPart part) const { return Has(parts, part); }

    LiveSession Session(const Names& names) const {
        LiveSession session = Session(true);
        session.user = names.user;
        session.computer = names.computer;
        return session;
    }

    static PlaceFacts Place(const std::wstring& path, const Names& names, RegDocument document) {
        return {path, UnitsOfUtf8(names.user).value_or(L""), UnitsOfUtf8(names.computer).value_or(L""),
                std::move(document)};
    }

    LiveSession Session(bool hasClasses) const {
        LiveSession session;
        session.bitness = server.bitness;
        session.hasClasses = hasClasses;
        session.inputs = {server.file, captureFile};
        return session;
    }

    static LiveSession Writing(const TemporaryFolder& folder, LiveSession session) {
        session.outputs = {folder.Name()};
        return session;
    }

    // A registration, what it changed, and its removal.
    struct RegistrationSteps {
        RegistrationSteps(LiveSteps& steps, const CheckedServer& server, const Capture& capture, bool isAgain,
                          bool isRemoved)
            : snapshot(steps.Add({{"step", "snapshot"}})), registrar(steps, server, false),
              changes(steps.Add({{"step", "difference"}})),
              states(steps.Add({{"step", "read"}, {"keys", CapturedKeys(capture)}})) {
            if (isAgain) {
                again.emplace(steps, server, false);
            }
            if (isRemoved) {
                removal.emplace(steps, server, true);
                changesAfterRemoval = steps.Add({{"step", "difference"}});
            }
        }

        std::size_t snapshot;
        Registrar registrar;
        std::size_t changes;
        std::size_t states;
        std::optional<Registrar> again;
        std::optional<Registrar> removal;
        std::size_t changesAfterRemoval = 0;
    };

    RegistrationFacts FactsOf(const LiveSteps& steps, const RegistrationSteps& own, bool hasClasses) const {
        RegistrationFacts found;
        for (const Registrar* const one : {&own.registrar, own.again ? &*own.again : nullptr}) {
            if (one != nullptr && !one->IsDone()) {
                throw EndedEarly();
            }
        }
        found.hasClasses = hasClasses;
        found.status = own.registrar.Status();
        found.changes = ChangesIn(Whole(steps, own.changes));
        found.states = StatesIn(Whole(steps, own.states));
        if (own.again) {
            found.secondStatus = own.again->Status();
        }
        if (own.removal) {
            found.removalStatus = own.removal->Status();
            found.changesAfterRemoval = ChangesIn(Whole(steps, own.changesAfterRemoval));
        }
        return found;
    }

    Refusal EndedEarly() const {
        return Refusal(server.file + ": the session in which it was checked ended too early");
    }

    // The answers of a step. One without its end would pass for one without findings.
    std::vector<Json> Whole(const LiveSteps& steps, std::size_t step) const {
        std::vector<Json> answers = steps.AnswersOf(step);
        const auto isFailure = [](const Json& answer) { return answer.contains("failure"); };
        if (!steps.IsDone(step) || std::ranges::any_of(answers, isFailure)) {
            throw EndedEarly();
        }
        return answers;
    }

    static CallOutcome OutcomeOf(const std::optional<std::uint32_t>& result) {
        return result ? CallOutcome(*result) : CallOutcome();
    }

    void FindInEmpty() {
        LiveSteps steps;
        const RegistrationSteps own(steps, server, capture, false, Wants(CheckPart::Clean));
        Run(steps, Session(false));
        facts.empty = FactsOf(steps, own, false);
    }

    void FindInFull() {
        LiveSteps steps;
        const TemporaryFolder folder;
        std::optional<std::size_t> redirected;
        std::size_t past = 0;
        std::size_t pastAndLater = 0;
        std::optional<std::size_t> dependencies;
        if (Wants(CheckPart::Result) && server.hasExport) {
            const std::vector<std::string> outputs = {folder.FileNamed("redirected.reg")};
            steps.Add({{"step", "snapshot"}});
            redirected = steps.Ask(CaptureRequest(server.path, outputs));
            past = steps.Add({{"step", "difference"}});
            Json request = CaptureRequest(server.path, outputs);
            request["linger"] = lingering;
            steps.Ask(std::move(request));
            pastAndLater = steps.Add({{"step", "difference"}});
            dependencies = steps.Ask({{"question", "dependencies"}, {"server", ReadableUtf8(server.path)}});
        }
        const bool isRemoved = Wants(CheckPart::Clean) || !SessionsAreThrownAway();
        const RegistrationSteps own(steps, server, capture, Wants(CheckPart::Noise), isRemoved);
        Run(steps, Writing(folder, Session(true)));
        facts.full = FactsOf(steps, own, true);
        if (redirected) {
            ResultFacts& result = facts.result.emplace();
            result.redirected = OutcomeOf(NumberIn(Whole(steps, *redirected), "result"));
            result.past = ChangesIn(Whole(steps, past));
            result.pastAndLater = ChangesIn(Whole(steps, pastAndLater));
            result.dependencies = DependenciesIn(Whole(steps, *dependencies));
            result.outside = facts.full->status == 0 ? CallOutcome(0) : ResultOutside();
            if (!result.redirected.Succeeds() && result.outside.Succeeds()) {
                result.lookedFor = LookedFor();
            }
        }
    }

    // What the registrar doesn't say: the HRESULT of the export.
    CallOutcome ResultOutside() const {
        LiveSteps steps;
        const std::size_t call = steps.Ask(
            {{"question", "call"}, {"server", ReadableUtf8(server.path)}, {"export", "DllRegisterServer"}});
        Run(steps, Session(true));
        const std::vector<Json> answers = Whole(steps, call);
        constexpr std::uint32_t ofWin32 = 0x80070000;
        const auto error = NumberIn(answers, "error");
        return error ? CallOutcome(ofWin32 | *error) : OutcomeOf(NumberIn(answers, "result"));
    }

    // What the server asked the redirected roots for in vain, from the story of a capture.
    std::vector<std::wstring> LookedFor() const {
        constexpr std::string_view verdict =
            ": looked for and not found: the redirected roots are empty there, and the registry has it";
        std::vector<std::wstring> found;
        const std::string story =
            ExplainedText(server.bitness == 64 ? "x64" : "x86", {"keyRedir", ReadableUtf8(server.path)});
        for (std::size_t at = 0, end = story.find('\n'); end != std::string::npos;
             at = end + 1, end = story.find('\n', at)) {
            const std::string line = story.substr(at, end - at);
            const std::size_t last = line.find(verdict);
            const std::size_t first = line.find("): ");
            if (last != std::string::npos && first < last) {
                found.push_back(UnitsOfUtf8(line.substr(first + 3, last - first - 3)).value_or(L"?"));
            }
        }
        return found;
    }

    void FindCreated() {
        facts.hasCreated = true;
        for (const RegObject& object : ModelOf(capture.document).objects) {
            const auto* const one = std::get_if<ClassFacts>(&object.facts);
            const ServerFacts* const way = one == nullptr ? nullptr : WayOf(*one);
            if (way != nullptr) {
                classes.push_back({{"clsid", ReadableUtf8(object.id)},
                                   {"threadingModel", ReadableUtf8(way->threadingModel)},
                                   {"isOfProgram", EqualFolded(way->kind, ofProgram)}});
                facts.classes.push_back({object.id, std::nullopt, std::nullopt});
            }
        }
        hasProgram = std::ranges::any_of(classes, [](const Json& one) { return one["isOfProgram"] == true; });
        Create(&ClassFact::byCapture, true);
        Create(&ClassFact::byRegistration, false);
    }

    // Creates the classes one after another, and goes on after one that ends the program.
    void Create(std::optional<std::uint32_t> ClassFact::*result, bool isImported) {
        for (std::size_t first = 0; first < classes.size();) {
            LiveSteps steps;
            std::optional<std::size_t> import;
            if (isImported) {
                steps.Add(
                    SystemProgramStep(server, "reg.exe", "import " + QuotedPath(WindowsPathOf(captureFile))));
            } else {
                const Registrar registrar(steps, server, false);
            }
            Json list = Json::array();
            for (std::size_t i = first; i < classes.size(); ++i) {
                list.push_back(classes[i]);
            }
            const std::size_t create = steps.Ask({{"question", "create"}, {"classes", list}});
            if (!SessionsAreThrownAway()) {
                const Registrar removal(steps, server, true);
            }
            // Between processes nothing works without the system's own classes.
            Run(steps, Session(hasProgram));
            if (import && NumberIn(Whole(steps, *import), "status") != 0U) {
                throw Refusal(captureFile + ": reg.exe can't import it");
            }
            first = TakeCreated(Whole(steps, create), first, result);
        }
    }

    // The number of the next class.
    std::size_t TakeCreated(const std::vector<Json>& answers, std::size_t first,
                            std::optional<std::uint32_t> ClassFact::*result) {
        std::size_t next = first;
        for (const Json& answer : answers) {
            if (next < classes.size() && answer.contains("clsid") &&
                answer["clsid"] == classes[next]["clsid"]) {
                facts.classes[next++].*result = NumberIn({answer}, "result");
            }
        }
        // The one that ended the program has no answer.
        return next < classes.size() ? next + 1 : next;
    }

    RegDocument Read(const std::string& file) const {
        if (!ReadWholeFile(file)) {
            throw Refusal(server.file + ": it can't be captured again");
        }
        return ReadCapture(file).document;
    }

    void FindCaptures() {
        if (!Wants(CheckPart::Noise) && !Wants(CheckPart::Same)) {
            return;
        }
        const TemporaryFolder folder;
        const std::string first = folder.FileNamed("first.reg");
        const std::string second = folder.FileNamed("second.reg");
        LiveSteps steps;
        const std::size_t twice = steps.Ask(CaptureRequest(server.path, {first, second}));
        Run(steps, Writing(folder, Session(namesHere)));
        const std::vector<Json> answers = Whole(steps, twice);
        facts.hasNoSecond = Wants(CheckPart::Noise) && !ReadWholeFile(second);
        if (Wants(CheckPart::Noise) && !facts.hasNoSecond) {
            facts.witnesses = {Read(first), Read(second), Preloaded(folder, ListIn(answers, "loaded"))};
        }
        if (Wants(CheckPart::Same)) {
            facts.same = {Place(server.path, namesHere, Read(first)), Elsewhere(folder)};
        }
    }

    RegDocument Preloaded(const TemporaryFolder& folder, const Json& libraries) const {
        const std::string file = folder.FileNamed("preloaded.reg");
        LiveSteps steps;
        const std::size_t step = steps.Ask(CaptureRequest(server.path, {file}, libraries));
        Run(steps, Writing(folder, Session(true)));
        Whole(steps, step);
        return Read(file);
    }

    PlaceFacts Elsewhere(const TemporaryFolder& folder) const {
        const OtherFolder other(server.file);
        const std::wstring path = WindowsPathOf(other.File());
        const std::string file = folder.FileNamed("elsewhere.reg");
        LiveSteps steps;
        const std::size_t step = steps.Ask(CaptureRequest(path, {file}));
        LiveSession session = Writing(folder, Session(namesElsewhere));
        session.inputs.push_back(other.File());
        Run(steps, session);
        Whole(steps, step);
        return Place(path, namesElsewhere, Read(file));
    }

    const CheckedServer& server;
    const Capture& capture;
    const std::string& captureFile;
    std::span<const CheckPart> parts;
    CheckFacts facts;
    std::vector<Json> classes; // as a request has them
    bool hasProgram = false;   // among the classes' servers
};

} // namespace

CheckFacts FactsOf(const CheckedServer& server, const Capture& capture, const std::string& captureFile,
                   std::span<const CheckPart> parts) {
    return Sessions(server, capture, captureFile, parts).Find();
}

} // namespace keyreap
