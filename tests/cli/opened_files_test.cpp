// What a command reads it opens once, by whatever name.

#include "program.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

/// The openings of a file from now on.
class Openings {
public:
    explicit Openings(const QString& path) : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        // Equal events in a row are one: reading and closing keep two openings apart.
        isWatching_ = inotify_add_watch(events_, QFile::encodeName(path).constData(),
                                        IN_OPEN | IN_ACCESS | IN_CLOSE) >= 0;
    }
    Openings(const Openings&) = delete;
    Openings& operator=(const Openings&) = delete;
    ~Openings() { ::close(events_); }

    /// -1 where the system cannot tell.
    int count() const {
        int openings = isWatching_ ? 0 : -1;
        inotify_event event{};
        char bytes[4096];
        for (ssize_t size = 0; isWatching_ && (size = ::read(events_, bytes, sizeof bytes)) > 0;) {
            for (ssize_t at = 0; at < size; at += static_cast<ssize_t>(sizeof event + event.len)) {
                std::memcpy(&event, bytes + at, sizeof event);
                openings += (event.mask & IN_OPEN) != 0 ? 1 : 0;
            }
        }
        return openings;
    }

private:
    int events_;
    bool isWatching_ = false;
};

}  // namespace

TEST_F(Program, OpensEachInputOnce) {
    QByteArray counts;
    for (int row = 0; row < 30; ++row) {
        for (int column = 0; column < 200; ++column) {
            const int count = 1000 + 5 * (column < 100 ? column : 200 - column);
            counts.append(char(count % 256)).append(char(count / 256));
        }
    }
    write("map.raw", counts);
    write("map.raw.meta.csv", "columns,200\nrows,30\nx_step_mm,0.5\nrow_step_mm,1\nheight_step_mm,0.01\n");
    for (const char* command :
         {"scan section map.raw --at-scan 3 --out s.csv", "simulate pass --wheelsets 1 --out train",
          "teach s.csv --lines 0,1 --measure angle|0|1 --out t.json", "calibrate simulate flat.raw",
          "calibrate build flat.raw table.tbl --z-range 100 --x-range 140 --z-step 100"})
        ASSERT_EQ(run(QString(command).split(' ').replaceInStrings("|", " ")).code, 0) << command;
    const std::pair<const char*, QStringList> cases[] = {
        {"match map.raw --template t.json --svg p.svg", {"map.raw", "map.raw.meta.csv", "t.json"}},
        {"scan plane map.raw", {"map.raw", "map.raw.meta.csv"}},
        {"scan convert map.raw map.ply", {"map.raw", "map.raw.meta.csv"}},
        {"fit s.csv --line", {"s.csv"}},
        {"calibrate check table.tbl --truth flat.raw.truth.json", {"table.tbl", "flat.raw.truth.json"}},
        {"wheels pass train --no-pictures", {"train/pass_1004.bin", "train/pass_1001.bin"}}};
    for (const auto& [command, files] : cases) {
        std::vector<std::unique_ptr<Openings>> openings;
        for (const QString& file : files)
            openings.push_back(std::make_unique<Openings>(file));
        EXPECT_LE(run(command).code, 1) << command;
        for (std::size_t i = 0; i < openings.size(); ++i)
            EXPECT_EQ(std::abs(openings[i]->count()), 1) << command << ": " << files[int(i)].toStdString();
    }
}
