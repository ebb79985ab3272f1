#pragma once

#include <nlohmann/json_fwd.hpp>

// A question that needs a live host has a file of its own, with a function that answers it.
namespace keyreap {

// A line of JSON on standard output, which is there even if the next thing ends the program.
void Answer(const nlohmann::json& line);

// create: creates an object of each class of the request, by its manifest if it has one, and answers each.
// An error of the manifest is the only answer.
void AnswerCreate(const nlohmann::json& request);

} // namespace keyreap
