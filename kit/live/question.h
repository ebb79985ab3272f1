#pragma once

#include <nlohmann/json_fwd.hpp>

// What needs a live host: a question is answered by a function, line by line.
namespace keyreap {

// A line of JSON on standard output, which is there even if the next thing ends the program.
void Answer(const nlohmann::json& line);

// create: creates an object of each class of the request, by its manifest if it has one, and answers each.
// An error of the manifest is the only answer.
void AnswerCreate(const nlohmann::json& request);

// steps: takes the request's steps one after another, in one session: a snapshot of the registry, a program
// that runs, what has changed since, what a process reads, and any other question, which another process
// answers. Each answer has the number of its step.
void AnswerSteps(const nlohmann::json& request);

// capture: captures the server once for each of the outputs, all in this process, and answers each. The
// modules of Windows that were loaded meanwhile are those since the first capture began.
void AnswerCapture(const nlohmann::json& request);

// call: loads the server and calls an export without arguments, such as DllRegisterServer. An error is the
// system's: it can't be loaded, or has no such export (127).
void AnswerCall(const nlohmann::json& request);

// library: registers a type library, or removes its registration, and answers with the HRESULT.
void AnswerLibrary(const nlohmann::json& request);

// dependencies: what the server's file and the files that it depends on import, each DLL that a file wants.
// Where a DLL is found, it has the bitness of the file that is there. No code runs. A failure of the walk,
// for which the registry needs the system's classes, is the only answer.
void AnswerDependencies(const nlohmann::json& request);

} // namespace keyreap
