// Results that are kept: what is stored is what was measured, and what was said to be stored stays.

#include <tests/cli/program.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/random_data.h>

#include <kvmeasure/report/results_store.h>

#include <QtCore/QElapsedTimer>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace KvMeasure;
using testing::AnyOf;
using testing::HasSubstr;
using TestSupport::errorOf;
using TestSupport::textOf;

constexpr int kValues = 2;  // of each part here

StoredPart partOf(int record) {
    StoredPart part;
    part.record = record;
    part.name = QString("part %1").arg(record);
    part.state = PartState::Good;
    for (int i = 0; i < kValues; ++i) {
        Value value;
        value.name = i == 0 ? "a" : "b";
        value.value = record + 0.1 * i;
        value.isValid = true;
        part.values.append(value);
    }
    return part;
}

NewRun aboutRun() {
    NewRun run;
    run.command = "test";
    run.plan = "{}";
    return run;
}

/// Records of a run in the order of storing; -1 for a value that is not that of its record.
std::vector<double> recordsOf(const QString& path, qint64 run) {
    ResultsStore store(path, ResultsStore::Access::Read);
    std::vector<double> records;
    ResultsQuery query;
    query.run = run;
    int i = 0;
    store.forEachValue(query, [&](const StoredValue& value) {
        const bool isFirst = i++ % kValues == 0;
        if (isFirst)
            records.push_back(value.value);
        else if (value.value != records.back() + 0.1)
            records.back() = -1;
    });
    EXPECT_EQ(i % kValues, 0) << "a part without all of its values";
    return records;
}

/// Work in a process of its own, which ends with what the work returns.
pid_t inProcess(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    int code = 99;
    try {
        code = work();
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(code);
}

int codeOf(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int addMany(const QString& path, int count, const std::function<void(int)>& stored) {
    ResultsStore store(path, ResultsStore::Access::Add);
    const qint64 run = store.beginRun(aboutRun());
    for (int i = 0; i < count; i += 2) {
        store.addParts(run, {partOf(i), partOf(i + 1)});
        stored(i + 2);
    }
    store.endRun(run);
    return 0;
}

class Store : public Program {
protected:
    void SetUp() override {
        try {
            ResultsStore("probe.db", ResultsStore::Access::Add);
        } catch (const Error& error) {
            ASSERT_THAT(textOf(error), AnyOf(HasSubstr("Qt Sql"), HasSubstr("no driver for SQLite")));
            GTEST_SKIP() << error.what();
        }
    }
    void teach() const {
        simulate("good.csv", "--shape v-groove --noise 0.02");
        ASSERT_EQ(run({"teach", "good.csv", "--lines", "0,1,2,3", "--measure",
                       "depth = shift 0.end 1.end -90 : 6 +- 0.005; length = length 1", "--out", "t.json"})
                      .code,
                  0);
        for (const char* seed : {"1", "2", "3"})
            simulate(QString("p%1.csv").arg(seed),
                     {"--shape", "v-groove", "--noise", "0.02", "--seed", seed});
        write("flat.csv", "x,z\n0,0\n1,0\n2,0\n3,0\n");
        write("bad.csv", "nothing\n");
    }
};

TEST_F(Store, ValuesAreThoseOfTheReport) {
    teach();
    const QString odd = "it's \"1\"; DROP TABLE run\n\u65e5\u672c";
    const Outcome match =
        run({"match", "p1.csv", "p2.csv", "bad.csv", "flat.csv", "p3.csv", "--template", "t.json", "--json",
             "--store", "r.db", "--station", odd, "--operator", "Ann", "--serial", "A%1"});
    ASSERT_EQ(match.code, 2) << match.err;
    EXPECT_THAT(match.err, HasSubstr("r.db: run 1: 5 profiles stored"));
    const QJsonObject stored = run("results r.db --json").json();
    const QJsonObject about = stored["runs"].toArray().at(0).toObject();
    EXPECT_EQ(about["station"].toString(), odd);
    EXPECT_EQ(about["operator"].toString(), "Ann");
    EXPECT_EQ(about["plan"].toString().size(), 64);
    EXPECT_EQ(about["parts"].toInt(), 5);
    EXPECT_EQ(about["unread"].toInt(), 1);
    EXPECT_EQ(about["good"].toInt() + about["missed"].toInt(), 4);
    EXPECT_FALSE(about["ended"].isNull());

    const QJsonArray series = stored["values"].toArray();
    ASSERT_EQ(series.size(), 2);
    const QJsonArray profiles = match.json()["profiles"].toArray();
    ASSERT_EQ(profiles.size(), 4);
    for (int k = 0; k < 2; ++k) {
        const QJsonObject one = series[k].toObject();
        const QJsonArray trend = one["trend"].toArray();
        ASSERT_EQ(trend.size(), 4);
        double sum = 0;
        for (int i = 0; i < 4; ++i) {
            const QJsonObject is = trend[i].toObject();
            const QJsonObject profile = profiles[i].toObject();
            const QJsonObject was =
                profile["assignments"].toArray().at(0).toObject()["measurements"].toArray().at(k).toObject();
            EXPECT_EQ(is["profile"], profile["file"]);
            EXPECT_EQ(is["serial"].toString(), "A%1");
            EXPECT_EQ(is["value"].toDouble(-1), was["value"].toDouble(-1));
            EXPECT_EQ(is["U"].toDouble(-1), was["U"].toDouble(-1));
            if (profile["found"].toBool())
                EXPECT_EQ(is["verdict"].toString(), was["verdict"].toString());
            else
                EXPECT_THAT(is["reason"].toString().toStdString(), HasSubstr("the template has 4 lines"));
            sum += is["value"].toDouble();
        }
        const QJsonObject statistics = one["statistics"].toObject();
        EXPECT_EQ(statistics["count"].toInt(), 3);
        EXPECT_EQ(statistics["missing"].toInt(), 1);
        EXPECT_NEAR(statistics["mean"].toDouble(), sum / 3, 1e-12);
    }
    const QJsonArray worst = series[0].toObject()["worst"].toArray();
    ASSERT_EQ(worst.size(), 3);
    for (int i = 1; i < 3; ++i)
        EXPECT_GE(std::abs(worst[i - 1].toObject()["value"].toDouble() - 6),
                  std::abs(worst[i].toObject()["value"].toDouble() - 6));
    EXPECT_EQ(series[1].toObject()["worstReason"].toString(), "the value has no tolerance");
    EXPECT_THAT(run("results r.db --csv").out, HasSubstr("\nbad.csv,A%1,1,3,"));
}

TEST_F(Store, QuestionsNarrowAndWrongNamesAreRefused) {
    teach();
    const auto add = [&](const QStringList& more) {
        return run(QStringList{"measure", "--region", "R = all; S = x -2..2", "--store", "r.db"} + more).code;
    };
    EXPECT_EQ(add({"p1.csv", "--measure", "top = mean in R : max 9", "--station", "north", "--serial", "7"}),
              0);
    EXPECT_EQ(add({"p2.csv", "--measure", "top = mean in R : max 8; low = mean in S", "--station", "south"}),
              0);
    const struct {
        QStringList question;
        int runs, series, first;
    } rows[] = {{{}, 2, 3, 1},
                {{"--station", "south"}, 1, 2, 1},
                {{"--part", "7"}, 1, 1, 1},
                {{"--part", "p2.csv", "--name", "low"}, 1, 1, 1},
                {{"--name", "top"}, 2, 2, 1},  // of two tolerances
                {{"--run", "1", "--last", "0"}, 1, 1, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.question.join(' ').toStdString());
        const QJsonObject found = run(QStringList{"results", "r.db", "--json"} + row.question).json();
        EXPECT_EQ(found["runs"].toArray().size(), row.runs);
        const QJsonArray values = found["values"].toArray();
        ASSERT_EQ(values.size(), row.series);
        EXPECT_EQ(values[0].toObject()["trend"].toArray().size(), row.first);
        EXPECT_EQ(values[0].toObject()["trendLeftOut"].toInt(), 1 - row.first);
    }
    EXPECT_THAT(run("results r.db").out, HasSubstr("r.db: 2 runs, 2 parts, 2 good, 0 not good, 0 not read"));
    expectRefused("results r.db --name topp",
                  "holds no value \"topp\"; there are top, low; did you mean \"top\"?");
    expectRefused("results r.db --station nort", "did you mean \"north\"?");
    expectRefused("results r.db --run 3", "holds no run \"3\"");
    const QStringList measure{"measure", "p1.csv", "--region", "R=all", "--measure", "t = mean in R"};
    expectRefused(measure + QStringList{"--station", "a"}, "--store");
    expectRefused(measure + QStringList{"--store", "p1.csv"}, "p1.csv");
    expectRefused(measure + QStringList{"--store", "gone/r.db"}, "its folder is not there");
    expectRefused(measure + QStringList{"--store", "postgresql://host/r"}, "none is on a server");
}

TEST_F(Store, KilledWritersLoseNothingThatWasStored) {
    TestSupport::Draws draws(19);
    for (int killed = 1; killed <= 10; ++killed) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = inProcess([&] {
            return addMany("k.db", 1'000'000, [&](int count) {
                if (::write(ends[1], &count, sizeof count) != sizeof count)
                    ::_exit(1);
            });
        });
        ::close(ends[1]);
        int stored = 0;
        ASSERT_EQ(::read(ends[0], &stored, sizeof stored), ssize_t(sizeof stored));  // it is at work
        ::usleep(useconds_t(draws.integer(1'000, 120'000)));
        ::kill(child, SIGKILL);
        EXPECT_EQ(codeOf(child), -SIGKILL);
        for (int count = 0; ::read(ends[0], &count, sizeof count) == ssize_t(sizeof count);)
            stored = count;
        ::close(ends[0]);
        const std::vector<double> records = recordsOf("k.db", killed);
        EXPECT_GE(records.size(), std::size_t(stored));
        EXPECT_LE(records.size(), std::size_t(stored) + 2);
        for (std::size_t i = 0; i < records.size(); ++i)
            ASSERT_EQ(records[i], double(i));
        RecordProperty("killed_" + std::to_string(killed), stored);
    }
}

TEST_F(Store, TwoWritersAtOnceLoseNothing) {
    constexpr int kParts = 60;
    const auto writer = [&] { return addMany("w.db", kParts, [](int) {}); };
    const pid_t one = inProcess(writer), other = inProcess(writer);
    EXPECT_EQ(codeOf(one), 0);
    EXPECT_EQ(codeOf(other), 0);
    for (const int run : {1, 2})
        EXPECT_EQ(recordsOf("w.db", run).size(), std::size_t(kParts));
}

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

TEST_F(Store, AKilledListGoesOnInItsRun) {
    teach();
    write("list.txt", "p1.csv\nbad.csv\np2.csv\nslow.csv\np3.csv\n");
    QByteArray slow;
    for (int i = 0; i < 600; ++i)
        slow += read("good.csv") + '\n';
    write("slow.csv", slow);
    const QStringList words{"match",           "--files-from", "list.txt", "--template", "t.json",
                            "--out",           "o.csv",        "--store",  "r.db",       "--uncertainty",
                            "monte-carlo 100", "--jobs",       "1"};
    QProcess process;
    process.start(KVMEASURE_PROGRAM, words);
    QElapsedTimer timer;
    timer.start();
    while (read("o.csv.partial").count("# file ") < 3 && timer.elapsed() < 60'000)
        ::usleep(20'000);
    process.kill();
    process.waitForFinished();
    ASSERT_GE(read("o.csv.partial").count("# file "), 3);
    {
        ResultsStore store("r.db", ResultsStore::Access::Read);
        ASSERT_EQ(store.runs().size(), 1);
        EXPECT_EQ(store.runs()[0].ended, "");
    }
    expectRefused(
        [&] {
            QStringList w = words;
            w[8] = "other.db";
            return w;
        }(),
        "was begun without this store");
    write("slow.csv", read("good.csv"));
    const Outcome rest = run(words);
    EXPECT_EQ(rest.code, 2) << rest.err;  // bad.csv
    ResultsStore store("r.db", ResultsStore::Access::Read);
    const QList<RunRecord> runs = store.runs();
    ASSERT_EQ(runs.size(), 1);
    EXPECT_NE(runs[0].ended, "");
    QMap<QString, int> seen;
    ResultsQuery query;
    query.name = "depth";
    store.forEachValue(query, [&](const StoredValue& value) { ++seen[value.profile]; });
    for (const char* name : {"p1.csv", "p2.csv", "p3.csv"})
        EXPECT_EQ(seen[name], 1) << name;
    EXPECT_EQ(runs[0].unread, 1);
    EXPECT_THAT(run(words).err, HasSubstr("is complete, so that nothing is stored"));
}

}  // namespace
