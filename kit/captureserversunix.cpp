// The sessions of captures begin in ./keyreap. ./keykit says where that is, and which version.
#include "kit/batch/progressline.h"
#include "kit/batch/summary.h"
#include "kit/capturejobs.h"
#include "kit/capturerecord.h"
#include "kit/captureservers.h"
#include "kit/hostfiles.h"
#include "kit/quicksession.h"
#include "kit/refusal.h"
#include "kit/serversearch.h"
#include "kit/terminalline.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <thread>

namespace keyreap {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::string Variable(const char* name) {
    const char* const text = std::getenv(name);
    if (text == nullptr) {
        throw Refusal("capture: start it as ./keykit capture, which knows where Wine's sessions begin");
    }
    return text;
}

// A session waits for its own processes during half of its time. The next one begins meanwhile, unless it
// takes a prefix of the pool, which has one a processor.
std::size_t JobsOf(const CaptureWords& words, bool hasPlaces) {
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    return words.jobs != 0 ? words.jobs : processors * (hasPlaces ? 2 : 1);
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error)) {
        throw Refusal(folder + ": the folder for the captures can't be made");
    }
}

// The lines that ./keyreap has written, without its name.
std::vector<std::string> SentencesIn(const std::string& text) {
    const std::string name = "keyreap: ";
    std::vector<std::string> sentences;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        sentences.push_back(line.starts_with(name) ? line.substr(name.size()) : line);
    }
    return sentences;
}

// A run over all servers. A server that is left out since it is unchanged is no job.
class BatchOfServers {
public:
    explicit BatchOfServers(const CaptureWords& words)
        : words(words), command(Variable("KEYKIT_CAPTURE")),
          folder(words.folder.empty() ? "." : words.folder),
          servers(ServersOf(words.servers, words.takesPrograms)), begun(Clock::now()) {
        run.mode = words.mode;
        run.version = Variable("KEYKIT_CAPTURE_VERSION");
        run.jobs = JobsOf(words, places.has_value());
        if (servers.empty()) {
            throw Refusal("capture: there is no server in these folders");
        }
        MakeFolder(folder);
        record.emplace(folder);
        NameCaptures();
    }

    int Run() {
        LeaveOutUnchanged();
        // Each session that runs at once needs a prefix of its own.
        setenv("KEYREAP_POOL_SIZE", std::to_string(std::max(run.jobs, PoolSize())).c_str(), 1);
        const CaptureJobSinks sinks = {
            [this](std::size_t place) { return Begin(pending[place]); },
            [this](std::size_t place, const CaptureJobResult& result) { End(pending[place], result); },
            [this] { ShowProgress(); }};
        if (!RunCaptureJobs(pending.size(), {run.jobs, words.timeout}, sinks)) {
            line.Clear();
            for (const std::size_t i : pending) {
                RemoveEmpty(run.outcomes[i].capture, wasThere[i]);
            }
            EndBySignal();
        }
        line.Clear();
        run.seconds = SecondsSince(begun);
        SayCounts();
        if (!words.json.empty()) {
            WriteResult(words.json == "-" ? std::string() : words.json, SummaryJson(run));
        }
        return failed == 0 ? statusWhole : statusIncomplete;
    }

private:
    static double SecondsSince(Clock::time_point time) {
        return std::chrono::duration<double>(Clock::now() - time).count();
    }

    static std::size_t PoolSize() {
        const char* const text = std::getenv("KEYREAP_POOL_SIZE");
        return text == nullptr ? 0 : std::strtoul(text, nullptr, 10);
    }

    void NameCaptures() {
        std::vector<BatchServer> found;
        std::ranges::transform(servers, std::back_inserter(found), &SearchedServer::places);
        captures = OutputNames(found);
        for (std::size_t i = 0; i < servers.size(); ++i) {
            CaptureOutcome outcome;
            outcome.server = servers[i].word;
            outcome.capture = (fs::path(folder) / captures[i]).lexically_normal().string();
            run.outcomes.push_back(std::move(outcome));
        }
        states.resize(servers.size());
        wasThere.resize(servers.size(), true);
    }

    void LeaveOutUnchanged() {
        for (std::size_t i = 0; i < servers.size(); ++i) {
            states[i] = record->StateOf(servers[i].places.name, run.mode, run.version);
            if (words.resumes && record->IsUnchanged(captures[i], states[i])) {
                run.outcomes[i].result = CaptureResult::Unchanged;
            } else {
                pending.push_back(i);
            }
        }
    }

    CaptureJob Begin(std::size_t i) {
        const std::string& capture = run.outcomes[i].capture;
        MakeFolder(fs::absolute(capture).parent_path().string());
        // It isn't what this server registers until it is made again.
        Keep(record->Remove(captures[i]));
        wasThere[i] = IsThere(capture);
        return [this, i] { return Capture(servers[i].word, run.outcomes[i].capture); };
    }

    // In a process of its own.
    int Capture(const std::string& server, const std::string& capture) const {
        if (places) {
            const bool wasThereBefore = IsThere(capture);
            if (const std::optional<int> status = CaptureInQuickSession(*places, server, capture, run.mode)) {
                return *status;
            }
            RemoveEmpty(capture, wasThereBefore);
        }
        execl(command.c_str(), command.c_str(), "--ready", "extreg", server.c_str(), capture.c_str(),
              run.mode.c_str(), nullptr);
        constexpr int notStarted = 127;
        return notStarted;
    }

    // What a capture that failed has left for its file.
    static void RemoveEmpty(const std::string& capture, bool wasThere) {
        std::error_code error;
        if (!wasThere && fs::is_regular_file(capture, error) && fs::file_size(capture, error) == 0) {
            fs::remove(capture, error);
        }
    }

    void End(std::size_t i, const CaptureJobResult& result) {
        CaptureOutcome& outcome = run.outcomes[i];
        RemoveEmpty(outcome.capture, wasThere[i]);
        outcome.status = result.status;
        outcome.seconds = result.seconds;
        outcome.sentences = SentencesIn(result.text);
        if (result.hasTimedOut) {
            outcome.result = CaptureResult::TimedOut;
            outcome.sentences = {outcome.server + ": it didn't end within " + std::to_string(words.timeout) +
                                 " s (--timeout)"};
        } else if (result.status == 0) {
            outcome.result = CaptureResult::Captured;
            Keep(record->Add(captures[i], states[i]));
        } else if (outcome.sentences.empty()) {
            outcome.sentences = {outcome.server + ": it failed, and nothing says why"};
        }
        failed += outcome.result == CaptureResult::Captured ? 0 : 1;
        ++ended;
        line.Clear();
        std::ranges::for_each(outcome.sentences, Say);
    }

    void Keep(bool isWritten) {
        if (!isWritten && !hasSaidThatRecordFailed) {
            hasSaidThatRecordFailed = true;
            Say((fs::path(folder) / capturesDoneName).string() +
                ": it can't be written, so --resume will capture all again");
        }
    }

    void ShowProgress() {
        if (line.IsThere()) {
            line.Show(ProgressLine({pending.size(), ended, failed, SecondsSince(begun)}, line.Columns()));
        }
    }

    void SayCounts() const {
        if (line.IsThere()) {
            Say(std::to_string(CountOf(run.outcomes, CaptureResult::Captured)) + " captured, " +
                std::to_string(CountOf(run.outcomes, CaptureResult::Unchanged)) + " unchanged, " +
                std::to_string(failed) + " failed");
        }
    }

    const CaptureWords& words;
    const std::string command;
    const std::string folder;
    const std::vector<SearchedServer> servers;
    const Clock::time_point begun;
    BatchRun run;
    std::vector<std::string> captures; // their names below the folder
    std::vector<CaptureDone> states;
    std::vector<bool> wasThere; // the captures' files, when their sessions began
    std::vector<std::size_t> pending;
    const std::optional<SessionPlaces> places = NamedSessionPlaces();
    std::optional<CaptureRecord> record;
    TerminalLine line;
    std::size_t ended = 0;
    std::size_t failed = 0;
    bool hasSaidThatRecordFailed = false;
};

} // namespace

int CaptureServers(const CaptureWords& words) {
    return BatchOfServers(words).Run();
}

} // namespace keyreap
