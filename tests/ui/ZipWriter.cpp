// Builds small zip archives for the tests.
#include "ZipWriter.h"

#include <zip.h>

namespace lh::test {

bool writeZip(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries) {
    zipFile zip = zipOpen64(path.c_str(), APPEND_STATUS_CREATE);
    if (!zip) return false;
    for (const auto& [name, bytes] : entries) {
        zip_fileinfo info{};
        int method = bytes.empty() ? 0 : Z_DEFLATED;
        if (zipOpenNewFileInZip(zip, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, method,
                                Z_DEFAULT_COMPRESSION) != ZIP_OK) {
            zipClose(zip, nullptr);
            return false;
        }
        if (!bytes.empty()) zipWriteInFileInZip(zip, bytes.data(), unsigned(bytes.size()));
        zipCloseFileInZip(zip);
    }
    return zipClose(zip, nullptr) == ZIP_OK;
}

}  // namespace lh::test
