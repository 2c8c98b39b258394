// Opening a scan saved in ncdu's export format as the window does, and listing its folders: an
// export of 1,000,000 entries (one folder of 500,000 files, and 50,000 folders of ten files
// each), read into the model, the widest folder listed, and a narrow one.
//
//   kelvane-model-saved-scan-bench [ROUNDS]
//
// Prints key=value lines: medians over the rounds, and the process's memory per entry.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench_median.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "scan/export_writer.h"

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

long peakKilobytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void writeExport(const std::string& file) {
    std::string text;
    kelvane::ExportWriter writer(text);
    writer.header("bench", 1'700'000'000);
    kelvane::ExportInfo folder;
    folder.dsize = 4096;
    kelvane::ExportInfo small;
    small.asize = 1000;
    small.dsize = 4096;
    writer.beginFolder("/srv/data", folder);
    writer.beginFolder("wide", folder);
    for (int i = 0; i < 500'000; ++i) writer.item("file-" + std::to_string(i) + ".dat", small);
    writer.endFolder();
    writer.beginFolder("deep", folder);
    for (int f = 0; f < 50'000; ++f) {
        writer.beginFolder("folder-" + std::to_string(f), folder);
        for (int i = 0; i < 9; ++i) writer.item("part-" + std::to_string(i), small);
        writer.endFolder();
    }
    writer.endFolder();
    writer.endFolder();
    writer.footer();
    std::ofstream(file, std::ios::binary) << text;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    char folder[] = "/tmp/kelvane-saved-scan-bench-XXXXXX";
    if (::mkdtemp(folder) == nullptr) return 1;
    // Written by a child, so the export's text never counts in this process's peak.
    const std::string file = std::string(folder) + "/scan.json";
    const pid_t writer = ::fork();
    if (writer == 0) {
        writeExport(file);
        ::_exit(0);
    }
    int status = 0;
    if (writer < 0 || ::waitpid(writer, &status, 0) != writer || status != 0) return 1;
    const long before = peakKilobytes();

    std::vector<double> open;
    std::vector<double> wide;
    std::vector<double> narrow;
    std::size_t entries = 0;
    std::size_t listed = 0;
    long opened = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto queue = std::make_shared<kelvane::ManualMainQueue>();
        kelvane::ModelEnvironment env;
        env.home = folder;
        const auto model = kelvane::AppModel::create(
            queue, std::make_shared<kelvane::SystemServices>(), std::move(env));
        const std::string id = std::string("saved-scan:") + file;
        auto start = Clock::now();
        model->openSavedScan(file);
        queue->drainUntil([&] { return model->selectedID() == id && !model->busyMessage(); },
                          std::chrono::minutes(2));
        open.push_back(msSince(start));
        entries = model->savedScan(id)->size();
        if (round == 0) opened = peakKilobytes();

        model->setBrowserPath("/srv/data/wide");
        start = Clock::now();
        model->loadEntries();
        wide.push_back(msSince(start));
        listed = model->entries().size();

        model->setBrowserPath("/srv/data/deep/folder-49999");
        start = Clock::now();
        model->loadEntries();
        narrow.push_back(msSince(start));
    }
    const long after = peakKilobytes();
    std::printf("entries=%zu\n", entries);
    std::printf("open_ms=%.1f\n", kelvane::median(open));
    std::printf("list_widest_folder_ms=%.1f (%zu items)\n", kelvane::median(wide), listed);
    std::printf("list_narrow_folder_ms=%.3f\n", kelvane::median(narrow));
    // Opening holds the tree; listing the widest folder adds the browser's rows for it, as
    // listing a folder of that many files on the disk would.
    std::printf("peak_growth_open_bytes_per_entry=%.0f\n",
                static_cast<double>(opened - before) * 1024.0 / static_cast<double>(entries));
    std::printf("peak_growth_with_widest_listing_bytes_per_entry=%.0f\n",
                static_cast<double>(after - before) * 1024.0 / static_cast<double>(entries));
    ::unlink(file.c_str());
    ::rmdir(folder);
    return 0;
}
