// Results that are kept, in files of SQLite and on a server of PostgreSQL alike: what is stored is what was
// measured, and what was said to be stored stays.

#include <tests/cli/stores.h>
#include <tests/support/postgres_server.h>
#include <tests/support/random_data.h>

#include <regex>
#include <sys/stat.h>

namespace {

using namespace KvMeasure;
using namespace TestSupport;

enum class Database { Sqlite, Postgres };

class Stores : public StoreProgram, public testing::WithParamInterface<Database> {
protected:
    void SetUp() override {
        auto& server = PostgresServer::shared();
        if (GetParam() == Database::Postgres && !server.fault().isEmpty())
            GTEST_SKIP() << server.fault().toStdString();
        const auto newPlace = [&server](const char* file) {
            return GetParam() == Database::Sqlite ? QString(file) : server.url(server.newDatabase());
        };
        if (const std::string fault = faultOf(newPlace("probe.db")); !fault.empty())
            GTEST_SKIP() << fault;
        place_ = newPlace("r.db");
    }
};

TEST_P(Stores, ValuesAreThoseOfTheReport) {
    teach();
    const QString odd = "it's \"1\"; DROP TABLE run\n\u65e5\u672c";
    const Outcome match =
        run({"match", "p1.csv", "p2.csv", "bad.csv", "flat.csv", "p3.csv", "--template", "t.json", "--json",
             "--store", place_, "--station", odd, "--operator", "Ann", "--serial", "A%1"});
    ASSERT_EQ(match.code, 2) << match.err;
    EXPECT_THAT(match.err, HasSubstr(place_.toStdString() + ": run 1: 5 profiles stored"));
    const QJsonObject stored = run({"results", place_, "--json"}).json();
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
    EXPECT_THAT(run({"results", place_, "--csv"}).out, HasSubstr("\nbad.csv,A%1,1,3,"));
}

TEST_P(Stores, QuestionsNarrowAndWrongNamesAreRefused) {
    teach();
    const auto add = [&](const QStringList& more) {
        return run(QStringList{"measure", "--region", "R = all; S = x -2..2", "--store", place_} + more).code;
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
        const QJsonObject found = run(QStringList{"results", place_, "--json"} + row.question).json();
        EXPECT_EQ(found["runs"].toArray().size(), row.runs);
        const QJsonArray values = found["values"].toArray();
        ASSERT_EQ(values.size(), row.series);
        EXPECT_EQ(values[0].toObject()["trend"].toArray().size(), row.first);
        EXPECT_EQ(values[0].toObject()["trendLeftOut"].toInt(), 1 - row.first);
    }
    EXPECT_THAT(run({"results", place_}).out,
                HasSubstr(place_.toStdString() + ": 2 runs, 2 parts, 2 good, 0 not good, 0 not read"));
    expectRefused({"results", place_, "--name", "topp"},
                  "holds no value \"topp\"; there are low, top; did you mean \"top\"?");
    expectRefused({"results", place_, "--station", "nort"}, "did you mean \"north\"?");
    expectRefused({"results", place_, "--run", "3"}, "holds no run \"3\"");
    expectRefused({"measure", "p1.csv", "--region", "R=all", "--measure", "t = mean in R", "--station", "a"},
                  "--store");
}

TEST_P(Stores, KilledWritersLoseNothingThatWasStored) {
    TestSupport::Draws draws(19);
    for (int killed = 1; killed <= 10; ++killed) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = inProcess([&] {
            return addMany(place_, 1'000'000, [&](int count) {
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
        const std::vector<double> records = recordsOf(place_, killed);
        EXPECT_GE(records.size(), std::size_t(stored));
        EXPECT_LE(records.size(), std::size_t(stored) + 2);
        for (std::size_t i = 0; i < records.size(); ++i)
            ASSERT_EQ(records[i], double(i));
        std::printf("kill %d: %d parts were said to be stored, %zu are\n", killed, stored, records.size());
    }
}

TEST_P(Stores, TwoWritersAtOnceLoseNothing) {
    constexpr int kParts = 60;
    const auto writer = [&] { return addMany(place_, kParts, [](int) {}); };
    const pid_t one = inProcess(writer), other = inProcess(writer);
    EXPECT_EQ(codeOf(one), 0);
    EXPECT_EQ(codeOf(other), 0);
    for (const int run : {1, 2})
        EXPECT_EQ(recordsOf(place_, run).size(), std::size_t(kParts));
}

TEST_P(Stores, AKilledListGoesOnInItsRun) {
    begin(
        "p1.csv\nbad.csv\np2.csv\nslow.csv\np3.csv\n", [] { return filesDone() >= 3; }, kill);
    {
        ResultsStore store(place_, ResultsStore::Access::Read);
        ASSERT_EQ(store.runs().size(), 1);
        EXPECT_EQ(store.runs()[0].ended, "");
    }
    QStringList other = words_;
    other.replaceInStrings(place_, "other.db");
    expectRefused(other, "was begun without this store");
    goOn();
}

TEST_P(Stores, AListKilledInItsFirstFileGoesOnInItsRun) {
    begin(
        "slow.csv\nbad.csv\np1.csv\np2.csv\np3.csv\n", [this] { return storedParts() > 0; }, kill);
    EXPECT_EQ(filesDone(), 0);
    goOn();
}

/// What only a server has.
class ServerStore : public StoreProgram {
protected:
    void SetUp() override {
        if (!server_.fault().isEmpty())
            GTEST_SKIP() << server_.fault().toStdString();
        database_ = server_.newDatabase();
        place_ = server_.url(database_);
        if (const std::string fault = faultOf(place_); !fault.empty())
            GTEST_SKIP() << fault;
    }
    static std::string refusal(const QString& place,
                               ResultsStore::Access access = ResultsStore::Access::Add) {
        return textOf(errorOf([&] { ResultsStore(place, access).beginRun(aboutRun()); }));
    }
    void endConnections() const {
        server_.sql(database_,
                    "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = "
                    "'kvmeasure' AND datname = current_database()");
    }
    PostgresServer& server_ = PostgresServer::shared();
    QString database_;
};

TEST_F(ServerStore, AnswersAreThoseOfAFile) {
    teach();
    const auto withoutTimes = [](std::string text) {
        return std::regex_replace(text, std::regex("[0-9-]{10}T[0-9:.]{12}Z"), "TIME");
    };
    for (const QString& place : {place_, QString("same.db")}) {
        for (const char* serial : {"it's \\ 1", "%2\t\u65e5"})
            EXPECT_EQ(run({"match", "p1.csv", "bad.csv", "flat.csv", "p2.csv", "--template", "t.json",
                           "--store", place, "--serial", serial, "--station", "a;b"})
                          .code,
                      2);
    }
    for (const QStringList& question : {QStringList{"--csv"},
                                        {"--json"},
                                        {"--station", "a;b"},
                                        {"--part", "%2\t\u65e5", "--json"},
                                        {"--part", "p2.csv", "--json"}}) {
        const std::string file = run(QStringList{"results", "same.db"} + question).out;
        QString server = QString::fromStdString(run(QStringList{"results", place_} + question).out);
        EXPECT_EQ(withoutTimes(server.replace(place_, "same.db").toStdString()), withoutTimes(file));
        EXPECT_GT(file.size(), 300U);
    }
}

TEST_F(ServerStore, PasswordsOpenAndAreNeverShown) {
    server_.sql(database_, "SET password_encryption = 'scram-sha-256'; CREATE USER pw PASSWORD 'a:/?@''\\ 1';"
                           "GRANT ALL ON DATABASE " +
                               database_ + " TO pw; DROP SCHEMA kvmeasure CASCADE");
    const QString secret = "a%3A%2F%3F%40'%5C%201";
    const QString named = server_.url(database_, "pw");
    for (const QString& login : {"pw:" + secret, QString("pw:a:%2F%3F@'%5C 1")}) {
        for (const QString& place : {server_.url(database_, login), server_.socketUrl(database_, login)}) {
            addMany(place, 2, [](int) {});
            EXPECT_FALSE(storeName(place).contains("1'"));
            const Outcome asked = run({"results", place, "--json"});
            EXPECT_EQ(asked.code, 0) << asked.err;
            EXPECT_EQ(asked.json()["file"].toString(), storeName(place));
        }
    }
    EXPECT_EQ(storeName(server_.url(database_, "pw:" + secret) + "?sslmode=prefer&password=x"), named);
    write("pass", "*:*:*:pw:a\\:/?@'\\\\ 1\n");
    ::chmod("pass", 0600);
    const struct {
        const char *variable, *value;
    } ways[] = {{"PGPASSWORD", "a:/?@'\\ 1"}, {"PGPASSFILE", "pass"}};
    for (const auto& way : ways) {
        ::setenv(way.variable, way.value, 1);
        EXPECT_NO_THROW(ResultsStore(named, ResultsStore::Access::Read)) << way.variable;
        ::unsetenv(way.variable);
    }
    EXPECT_THAT(refusal(named), HasSubstr("the server refuses this user"));
    for (const char* wrong : {"pw:hidden", "pw:hid/den", "pw:1/hidden", "pw:hid%den", "pw:1?hidden"}) {
        const Outcome refused = run({"results", server_.url(database_, wrong)});
        EXPECT_EQ(refused.code, 2);
        EXPECT_THAT(refused.err + refused.out, Not(testing::ContainsRegex("hid|den"))) << wrong;
    }
}

TEST_F(ServerStore, WhatCannotBeUsedIsRefusedWithItsReason) {
    const auto place = [this](const char* user) { return server_.url(database_, user); };
    server_.sql(database_, "CREATE USER guest");
    EXPECT_THAT(refusal(place("guest")), HasSubstr("the user has not the rights"));
    server_.sql(database_, "GRANT USAGE ON SCHEMA kvmeasure TO guest; GRANT SELECT ON ALL TABLES IN SCHEMA "
                           "kvmeasure TO guest");
    EXPECT_NO_THROW(ResultsStore(place("guest"), ResultsStore::Access::Read));
    EXPECT_THAT(refusal(place("guest")), HasSubstr("the user has not the rights"));
    server_.sql(database_, "GRANT INSERT ON ALL TABLES IN SCHEMA kvmeasure TO guest");
    EXPECT_EQ(addMany(place("guest"), 2, [](int) {}), 0);
    EXPECT_THAT(refusal(place_, ResultsStore::Access::Read), HasSubstr("is read-only"));
    for (const char* change : {"UPDATE kvmeasure.value SET value = 0", "DELETE FROM kvmeasure.part",
                               "TRUNCATE kvmeasure.run CASCADE"})
        EXPECT_EQ(
            server_.sql(database_, QString("DO $$BEGIN %1; EXCEPTION WHEN raise_exception THEN RETURN; END$$;"
                                           "SELECT count(*) FROM kvmeasure.value WHERE value > 0")
                                       .arg(change)),
            "3");

    EXPECT_THAT(refusal(server_.url("nothing")), HasSubstr("there is no such database on the server"));
    EXPECT_THAT(refusal(place("nobody")), HasSubstr("the server refuses this user"));
    EXPECT_THAT(refusal("postgresql://127.0.0.1:1/r"), HasSubstr("no server answers there"));
    EXPECT_THAT(refusal(server_.url(server_.newDatabase()), ResultsStore::Access::Read),
                HasSubstr("holds no results store"));
    const struct {
        const char *statement, *reason;
    } changes[] = {{"ALTER TABLE kvmeasure.value DISABLE TRIGGER only_added", "tables are missing"},
                   {"ALTER TABLE kvmeasure.value ADD x TEXT", "its tables were changed"},
                   {"INSERT INTO kvmeasure.form VALUES (2)", "was made by a newer version"},
                   {"DROP TABLE kvmeasure.form", "is of another program"}};
    for (const auto& change : changes) {
        server_.sql(database_, change.statement);
        for (const auto access : {ResultsStore::Access::Read, ResultsStore::Access::Add})
            EXPECT_THAT(refusal(place_, access), HasSubstr(change.reason));
    }
}

TEST_F(ServerStore, WaitsEndAndLostConnectionsAreSaid) {
    ResultsStore store(place_, ResultsStore::Access::Add, 0.05);
    const qint64 run = store.beginRun(aboutRun());
    QProcess holder;
    server_.begin(holder, database_,
                  "BEGIN; LOCK TABLE kvmeasure.part IN EXCLUSIVE MODE; SELECT pg_sleep(600)");
    while (server_.sql(database_, "SELECT count(*) FROM pg_locks WHERE mode = 'ExclusiveLock' AND relation = "
                                  "'kvmeasure.part'::regclass") == "0")
        ::usleep(10'000);
    EXPECT_THAT(textOf(errorOf([&] { store.addParts(run, {partOf(0)}); })),
                HasSubstr("is locked: another program holds it for more than 0.05 s"));
    server_.sql(database_, "SELECT pg_terminate_backend(pid) FROM pg_locks WHERE mode = 'ExclusiveLock' AND "
                           "relation = 'kvmeasure.part'::regclass");
    holder.waitForFinished();
    EXPECT_EQ(store.addParts(run, {partOf(0)}), 1);

    testing::internal::CaptureStderr();
    {
        ResultsStore lost(place_, ResultsStore::Access::Add);
        EXPECT_EQ(lost.addParts(run, {partOf(1)}), 1);
        endConnections();
        for (int again = 0; again < 2; ++again)
            EXPECT_THAT(textOf(errorOf([&] { lost.addParts(run, {partOf(2)}); })),
                        HasSubstr("the connection to the server was lost"));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(recordsOf(place_, run).size(), 2U);
}

TEST_F(ServerStore, ResultsArePrintedThoughTheServerIsLost) {
    teach();
    writeSlow();
    QProcess process;
    process.start(KVMEASURE_PROGRAM, {"match", "slow.csv", "--template", "t.json", "--csv", "--jobs", "1",
                                      "--store", place_, "--uncertainty", "monte-carlo 50"});
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(20) &&
           server_.sql(database_, "SELECT count(*) FROM kvmeasure.run") == "0") {
    }
    endConnections();
    ASSERT_TRUE(process.waitForFinished(100'000));
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_EQ(process.readAllStandardOutput().count("\nslow.csv"), 600);
    EXPECT_THAT(process.readAllStandardError().toStdString(),
                HasSubstr("the connection to the server was lost"));
}

TEST_F(ServerStore, AListThatLosesItsServerGoesOnLater) {
    const std::string said = begin(
        "p1.csv\nbad.csv\np2.csv\nslow.csv\np3.csv\n", [] { return filesDone() >= 3; },
        [this](QProcess&) { server_.crash(); });
    EXPECT_THAT(said,
                HasSubstr(": the connection to the server was lost; what was said to be stored is there"));
    EXPECT_THAT(said, Not(HasSubstr("Unable to")));
    server_.start();
    goOn();
}

const auto nameOf = [](const auto& each) { return each.param == Database::Sqlite ? "SQLite" : "PostgreSQL"; };
INSTANTIATE_TEST_SUITE_P(Databases, Stores, testing::Values(Database::Sqlite, Database::Postgres), nameOf);

}  // namespace
