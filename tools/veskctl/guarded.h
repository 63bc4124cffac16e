// Keeps what goes wrong with one part from ending the rest.
#pragma once

#include "veskctl/problem.h"

#include <exception>
#include <string>
#include <vector>

namespace veskctl {

// Runs the work; what it throws becomes a problem of the part with this name. The library may
// throw.
template <class Work>
void guarded(const std::string& name, std::vector<Problem>& problems, Work work) {
    try {
        work();
    } catch (const std::exception& error) {
        problems.push_back({ProblemKind::Internal, name + " cannot be read: " + error.what()});
    }
}

}  // namespace veskctl
