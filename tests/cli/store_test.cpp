// Stores of results that are files of SQLite: what is refused, and what nobody can write.

#include <tests/cli/stores.h>
#include <tests/support/random_data.h>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using namespace KvMeasure;
using namespace TestSupport;
using testing::HasSubstr;

class Store : public StoreProgram {
protected:
    void SetUp() override {
        if (const std::string fault = faultOf("probe.db"); !fault.empty())
            GTEST_SKIP() << fault;
    }
};

TEST_F(Store, WhatIsNoStoreIsRefusedAndUntouched) {
    addMany("s.db", 200, [](int) {});
    const QByteArray whole = read("s.db");
    const auto with = [&](int at, char byte) {
        QByteArray bytes = whole;
        bytes[at] = byte;
        return bytes;
    };
    QByteArray changed = whole;
    changed.replace("results are only added", "results may be changed");
    const struct {
        const char* what;
        QByteArray bytes;
        const char* reason;
    } files[] = {{"text", QByteArray(5000, 'x'), "is no results store"},
                 {"newer", with(63, 2), "was made by a newer version"},
                 {"foreign", with(71, 0), "is a database of another program"},
                 {"tables", changed, "its tables were changed"},
                 {"head", whole.left(100), "damaged or cut"},
                 {"pages", whole.left(whole.size() / 4096 / 2 * 4096), "damaged or cut"},
                 {"tail", whole.left(whole.size() - 10), "damaged or cut"}};
    for (const auto& file : files) {
        SCOPED_TRACE(file.what);
        write("f.db", file.bytes);
        for (const auto access : {ResultsStore::Access::Read, ResultsStore::Access::Add})
            EXPECT_THAT(textOf(errorOf([&] { ResultsStore("f.db", access); })), HasSubstr(file.reason));
        EXPECT_EQ(read("f.db"), file.bytes);
    }
    for (const char* place : {"p1.csv", "gone/s.db"})
        expectRefused(
            {"measure", "p1.csv", "--region", "R=all", "--measure", "t = mean in R", "--store", place},
            place);
    expectRefused("results gone.db", "gone.db: no such file");
    EXPECT_EQ(read("gone.db"), "none");
    write("empty.db", "");
    expectRefused("results empty.db", "empty.db: is empty");
    expectRefused("results .", "is a directory");
    TestSupport::Draws draws(20);
    for (int i = 0; i < 200; ++i) {  // it ends, one way or the other
        QByteArray bytes = whole;
        for (int k = 0; k < 20; ++k)
            bytes[draws.integer(0, int(whole.size()) - 1)] = char(draws.integer(0, 255));
        write("d.db", bytes);
        try {
            ResultsStore store("d.db", ResultsStore::Access::Read);
            int runs = int(store.runs().size());
            store.forEachValue({}, [&](const StoredValue& value) { runs += value.value > 0 ? 1 : 0; });
        } catch (const Error& error) {
            EXPECT_EQ(error.file(), "d.db");
        }
    }
}

TEST_F(Store, PlacesThatTakeNothingSaySo) {
    addMany("s.db", 2, [](int) {});
    ResultsStore reader("s.db", ResultsStore::Access::Read);
    reader.forEachValue({}, [&](const StoredValue&) {
        const auto add = [] {
            ResultsStore writer("s.db", ResultsStore::Access::Add, 0.05);
            writer.beginRun(aboutRun());
        };
        EXPECT_THAT(textOf(errorOf(add)),
                    HasSubstr("s.db: is locked: another program holds it for more than 0.05 s"));
    });
    EXPECT_THAT(textOf(errorOf([&] { reader.beginRun(aboutRun()); })), HasSubstr("read-only"));
    EXPECT_THAT(textOf(errorOf([] { ResultsStore("/proc/s.db", ResultsStore::Access::Add); })),
                HasSubstr("cannot be opened"));

    const pid_t full = inProcess([] {  // no file may grow
        ::signal(SIGXFSZ, SIG_IGN);
        ResultsStore store("s.db", ResultsStore::Access::Add);
        const qint64 run = store.beginRun(aboutRun());
        const rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const std::vector<StoredPart> parts(1, partOf(0));
        return textOf(errorOf([&] {
                   store.addParts(run, parts);
               })).find("what was stored before is not affected") == std::string::npos;
    });
    EXPECT_EQ(codeOf(full), 0);
    EXPECT_EQ(recordsOf("s.db", 1).size(), 2U);

    ::chmod("s.db", 0444);
    ::chmod(".", 0555);
    const pid_t other = inProcess([] {
        if (::geteuid() == 0 && ::seteuid(65534) != 0)
            return 0;
        return int(textOf(errorOf([] {
                       ResultsStore("s.db", ResultsStore::Access::Add).beginRun(aboutRun());
                   })).find("read-only") == std::string::npos ||
                   recordsOf("s.db", 1).size() != 2);
    });
    EXPECT_EQ(codeOf(other), 0);
    ::chmod(".", 0700);
}

}  // namespace
