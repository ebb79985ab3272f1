#include "kit/explainer.h"
#include "kit/verb.h"

namespace keyreap {

int RunExplainer(const std::string&, const std::vector<std::string>&) {
    Say("explain: it runs on Linux only, where Wine's server logs what each process asks for");
    return statusRefused;
}

std::string ExplainedText(const std::string&, const std::vector<std::string>&) {
    return {};
}

} // namespace keyreap
