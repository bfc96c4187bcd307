// Searching a large folder: the file name's `expandwildcards` beside the loop that a C program would write.
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <string>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "oocobol/oocobol.h"

namespace {

constexpr int files = 100000;

// Made at its first use, gone at the end.
class LargeFolder {
public:
    LargeFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "oocobol-files-XXXXXX").string();
        path = mkdtemp(pattern.data());
        for (int i = 0; i < files; ++i) std::ofstream(path / ("account-" + std::to_string(i * 7919L % files) + ".dat"));
    }
    ~LargeFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    LargeFolder(const LargeFolder &) = delete;
    LargeFolder &operator=(const LargeFolder &) = delete;
    std::filesystem::path path;
};
const std::string &folder() {
    static const LargeFolder made;
    static const auto path = made.path.string() + "/";
    return path;
}

void expandWildcards(benchmark::State &state) {
    static oops_site withValue = OOPS_SITE("withvalue"), expand = OOPS_SITE("expandwildcards"),
                     finalize = OOPS_SITE("finalize"), deepFinalize = OOPS_SITE("deepfinalize");
    oops_ref fileName = 0, pattern = 0;
    oopsgetclassobject(&fileName, "filename");
    auto text = folder() + "*.dat";
    oopsresolve(&withValue, fileName, 2, &pattern, text.data());
    for (auto _ : state) {
        oops_ref found = 0;
        oopsresolve(&expand, fileName, 2, &found, &pattern);
        state.PauseTiming();
        oopsresolve(&deepFinalize, found, 1, &found);
        state.ResumeTiming();
    }
    oopsresolve(&finalize, pattern, 1, &pattern);
    state.SetItemsProcessed(state.iterations() * files);
}
BENCHMARK(expandWildcards)->Name("files/expandwildcards")->Unit(benchmark::kMillisecond);

// The strings in the order of the folder, in an array that grows; the entries' kind is at hand in `d_type`.
void readFolder(benchmark::State &state) {
    const auto &path = folder();
    for (auto _ : state) {
        char **strings = nullptr;
        size_t count = 0, room = 0;
        DIR *opened = opendir(path.c_str());
        while (const dirent *entry = opened != nullptr ? readdir(opened) : nullptr) {
            if (fnmatch("*.dat", entry->d_name, FNM_PERIOD) != 0) continue;
            if (count == room) {
                room = room == 0 ? 50 : room * 2;
                strings = static_cast<char **>(realloc(strings, room * sizeof *strings));
            }
            const auto length = strlen(entry->d_name);
            auto *string = static_cast<char *>(malloc(path.size() + length + 2));
            memcpy(string, path.data(), path.size());
            memcpy(string + path.size(), entry->d_name, length);
            strcpy(string + path.size() + length, entry->d_type == DT_DIR ? "\\" : "");
            strings[count++] = string;
        }
        closedir(opened);
        state.PauseTiming();
        if (count != files) state.SkipWithError("not all files were found");
        for (size_t i = 0; i < count; ++i) free(strings[i]);
        free(strings);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * files);
}
BENCHMARK(readFolder)->Name("files/readdir_fnmatch")->Unit(benchmark::kMillisecond);

} // namespace
