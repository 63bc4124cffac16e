#include "sim/host/replace_file.h"

#include <cerrno>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace vesksim {

namespace fs = std::filesystem;

void replaceFile(const fs::path& file, const std::string& text) {
    fs::path fresh = file;
    fresh += "." + std::to_string(getpid()) + ".new";
    errno = 0;
    std::ofstream stream(fresh, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    std::error_code failure;
    if (!stream) {
        failure.assign(errno, std::generic_category());
    } else {
        fs::rename(fresh, file, failure);
    }
    if (failure) {
        std::error_code ignored;
        fs::remove(fresh, ignored);
        throw std::system_error(failure, fresh.string());
    }
}

}  // namespace vesksim
