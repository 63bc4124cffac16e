// The host's files for one test: a fresh folder that stands in for /scratch, /var/log, /opt/orvo
// and /etc/cim for as long as the object lives. One at a time; use it from the test's own thread,
// and let the library's threads end before it goes.
//
// Its own operations go past the redirection and past failure handlers, so a test may use them
// while it lets the library's calls fail.
#pragma once

#include <string>

namespace vesktest {

constexpr const char* kLogPath = "/scratch/log/libVeskNVMe.log";
constexpr const char* kLogLinkPath = "/var/log/libVeskNVMe.log";
constexpr const char* kPciAddressPath = "/opt/orvo/pciconfig/Templspcibdf.txt";
constexpr const char* kPciConfigPath = "/opt/orvo/pciconfig/Templspciconfig.txt";
constexpr const char* kFirstIniFolder = "/opt/orvo/kelpdesk/etc/kelpdesk-storage/";
constexpr const char* kSecondIniFolder = "/etc/cim/orvo/kelpdesk/kelpdesk-storage/";
constexpr const char* kConfigIniName = "libVeskNVMeConfig.ini";
constexpr const char* kMappingIniName = "libVeskNVMeAlertMapping.ini";
// In the first folder.
constexpr const char* kConfigIniPath =
    "/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeConfig.ini";
constexpr const char* kMappingIniPath =
    "/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini";

class PrivateHost {
public:
    // With the folders scratch/log, var/log, opt/orvo/pciconfig and the first INI folder, all
    // empty. The second INI folder is missing, as on a host of today.
    PrivateHost();
    ~PrivateHost();
    PrivateHost(const PrivateHost&) = delete;
    PrivateHost& operator=(const PrivateHost&) = delete;

    // All of these take the host's path ("/scratch/log/...") and throw std::runtime_error where the
    // operation is not possible.
    std::string path(const std::string& hostPath) const;                     // the real one
    void write(const std::string& hostPath, const std::string& text) const;  // replaces the file
    std::string read(const std::string& hostPath) const;
    bool exists(const std::string& hostPath) const;      // a link counts, wherever it leads
    void makeFolder(const std::string& hostPath) const;  // with those above it

    void writeConfigIni(const std::string& text) const;
    void writeMappingIni(const std::string& text) const;

private:
    std::string m_root;
};

}  // namespace vesktest
