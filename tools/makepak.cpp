// Packs a folder into a zip archive: folder entries end in '/', names use
// '/', entries come in sorted order so that the same tree gives the same
// archive. Usage: lh_makepak SOURCE_DIR OUTPUT.pak
#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s SOURCE_DIR OUTPUT.pak\n", argv[0]);
        return 2;
    }
    fs::path source = argv[1];
    std::vector<fs::path> entries;
    for (const auto& e : fs::recursive_directory_iterator(source)) entries.push_back(e.path());
    std::sort(entries.begin(), entries.end());

    std::string temp = std::string(argv[2]) + ".tmp";
    zipFile zip = zipOpen64(temp.c_str(), APPEND_STATUS_CREATE);
    if (!zip) {
        std::fprintf(stderr, "cannot create %s\n", temp.c_str());
        return 1;
    }
    for (const fs::path& p : entries) {
        std::string name = fs::relative(p, source).generic_string();
        bool folder = fs::is_directory(p);
        if (folder) name += "/";
        std::string bytes;
        if (!folder) {
            std::ifstream in(p, std::ios::binary);
            bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        }
        zip_fileinfo info{};
        info.tmz_date = {0, 0, 0, 1, 0, 2024};  // fixed stamp: reproducible archives
        int method = folder ? 0 : Z_DEFLATED;
        if (zipOpenNewFileInZip64(zip, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, method, 9, 0) != ZIP_OK ||
            (!bytes.empty() && zipWriteInFileInZip(zip, bytes.data(), unsigned(bytes.size())) != ZIP_OK) ||
            zipCloseFileInZip(zip) != ZIP_OK) {
            std::fprintf(stderr, "cannot add %s\n", name.c_str());
            zipClose(zip, nullptr);
            return 1;
        }
    }
    if (zipClose(zip, nullptr) != ZIP_OK) return 1;
    fs::rename(temp, argv[2]);
    return 0;
}
