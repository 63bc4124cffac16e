// One reading of the host's own files, that the library depends on: which there are, what they say,
// and what is wrong with them. Only reads.
#pragma once

#include "veskctl/alert_mapping.h"
#include "veskctl/file_text.h"
#include "veskctl/finding.h"
#include "veskctl/library_config.h"
#include "veskctl/pci_files.h"
#include "veskctl/sequence_mark.h"
#include "veskctl/trace_log.h"

#include <optional>
#include <string>
#include <vector>

namespace veskctl {

struct HostFiles {
    FileText config;
    FileText mapping;
    bool inCurrentFolder = false;  // the pair that the library uses
    // What is written into the mapping is lost when the host starts again, as on every ESXi host.
    bool forgottenAtReboot = false;
    LibraryConfig settings;
    // Empty if the mapping cannot be read.
    std::optional<AlertMapping> alerts;
    std::optional<SequenceMark> mark;
    PciFiles pci;
    TraceLog traceLog;
    std::vector<Finding> findings;

    // Without a mapping, or with an empty one, the library reports no event at all; a finding of
    // the severity Error says why.
    bool eventsAreReported() const { return alerts && !alerts->rows.empty(); }
};

// Whether the finding is why no event is reported, if none is.
bool hidesEvents(const Finding& finding);

// hostRoot: stands before every absolute path.
HostFiles readHostFiles(const std::string& hostRoot);

// The mapping file that the library uses, for whoever changes it: where this program finds it.
std::string placeOfMapping(const std::string& hostRoot, const HostFiles& files);

// Throws ProblemError if the library would end or hang at its start because of one of the files.
void demandUsable(const HostFiles& files);

Json hostFilesToJson(const HostFiles& files);

}  // namespace veskctl
