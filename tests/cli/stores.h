#pragma once
// What the tests of results stores share: parts of which the values are known, processes that store them.

#include <tests/cli/program.h>
#include <tests/kvmeasure/calls.h>

#include <kvmeasure/report/results_store.h>

#include <QtCore/QElapsedTimer>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

using namespace KvMeasure;

constexpr int kValues = 2;  // of each part here

inline StoredPart partOf(int record) {
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

inline NewRun aboutRun() {
    NewRun run;
    run.command = "test";
    run.plan = "{}";
    return run;
}

/// Records of a run in the order of storing; -1 for a value that is not that of its record.
inline std::vector<double> recordsOf(const QString& path, qint64 run) {
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
inline pid_t inProcess(const std::function<int()>& work) {
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

inline int codeOf(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

inline int addMany(const QString& path, int count, const std::function<void(int)>& stored) {
    ResultsStore store(path, ResultsStore::Access::Add);
    const qint64 run = store.beginRun(aboutRun());
    for (int i = 0; i < count; i += 2) {
        store.addParts(run, {partOf(i), partOf(i + 1)});
        stored(i + 2);
    }
    store.endRun(run);
    return 0;
}

/// A plan, profiles that fit it, and files that do not; a list of them, which takes seconds, and what was
/// stored of it when it was interrupted and run again.
class StoreProgram : public Program {
protected:
    /// Empty where stores of that place can be made, else why not.
    static std::string faultOf(const QString& place) {
        try {
            ResultsStore(place, ResultsStore::Access::Add);
        } catch (const Error& error) {
            EXPECT_THAT(textOf(error),
                        testing::AnyOf(testing::HasSubstr("Qt Sql"), testing::HasSubstr("no driver for")));
            return textOf(error);
        }
        return {};
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
    void writeSlow() const {
        QByteArray slow;
        for (int i = 0; i < 600; ++i)
            slow += read("good.csv") + '\n';
        write("slow.csv", slow);
    }

    /// Runs the list until `isDue`, then interrupts it. Returns its standard error.
    std::string begin(const QByteArray& list, const std::function<bool()>& isDue,
                      const std::function<void(QProcess&)>& interrupt) {
        teach();
        write("list.txt", list);
        writeSlow();
        words_ = QStringList{
            "match",   "--files-from", "list.txt",      "--template",       "t.json", "--out", "o.csv",
            "--store", place_,         "--uncertainty", "monte-carlo 1000", "--jobs", "1"};
        QProcess process;
        process.start(KVMEASURE_PROGRAM, words_);
        QElapsedTimer timer;
        timer.start();
        while (!isDue() && timer.elapsed() < 60'000)
            ::usleep(20'000);
        EXPECT_TRUE(isDue());
        interrupt(process);
        EXPECT_TRUE(process.waitForFinished());
        return process.readAllStandardError().toStdString();
    }
    qint64 storedParts() const {
        try {
            const QList<RunRecord> runs = ResultsStore(place_, ResultsStore::Access::Read).runs();
            return runs.isEmpty() ? 0 : runs.first().parts;
        } catch (const Error&) {  // it is not made yet
            return 0;
        }
    }
    static int filesDone() { return int(ScratchDirectory::read("o.csv.partial").count("# file ")); }

    /// Runs it to its end: one run of the store has each file once.
    void goOn() {
        write("slow.csv", read("good.csv"));
        const Outcome rest = run(words_);
        EXPECT_EQ(rest.code, 2) << rest.err;  // bad.csv
        ResultsStore store(place_, ResultsStore::Access::Read);
        const QList<RunRecord> runs = store.runs();
        ASSERT_EQ(runs.size(), 1);
        EXPECT_NE(runs[0].ended, "");
        EXPECT_EQ(runs[0].unread, 1);
        QMap<QString, int> seen;
        ResultsQuery query;
        query.name = "depth";
        store.forEachValue(query, [&](const StoredValue& value) { ++seen[value.profile]; });
        for (const char* name : {"p1.csv", "p2.csv", "p3.csv"})
            EXPECT_EQ(seen[name], 1) << name;
        EXPECT_THAT(run(words_).err, testing::HasSubstr("is complete, so that nothing is stored"));
    }
    static void kill(QProcess& process) { process.kill(); }

    QString place_;  ///< of the store
    QStringList words_;
};

}  // namespace TestSupport
