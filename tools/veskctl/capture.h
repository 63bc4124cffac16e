// Captures: taking one while a command runs, and showing one.
#pragma once

#include <string>
#include <vector>

namespace veskctl {

struct Command;
struct Report;
class Options;

struct CaptureOptions {
    std::string file;  // empty: no capture
    bool mask = false;
};

void addCaptureOptions(Options& target, CaptureOptions& options);

// Runs the whole program anew with libvesk-capture.so in front of the platform's library, and
// returns in that second run only. Does nothing without a file. libraryName: of libVeskNvme.so,
// which the capture library may stand beside. words: the command line, with the program's name.
// Throws ProblemError.
void startCapture(const CaptureOptions& options, const std::string& libraryName,
                  const std::vector<std::string>& words);

// In that second run, once the host's files are where the program finds them, and before the
// library is given copies in the place of some: opens the capture, which takes them in. Throws
// UsageError.
void beginCapture(const CaptureOptions& options);

// The file that this process and its children record in; empty if they do not.
std::string captureFile();

// In the process that the library is in, before it ends.
void endCapture();

// Notes a capture that ended early among the problems.
void finishCapture(Report& report);

// Lists what the capture holds, as text or (json) in the fields.
void showCapture(const std::string& name, bool json, bool hex, Report& report);

Command captureCommand();

}  // namespace veskctl
