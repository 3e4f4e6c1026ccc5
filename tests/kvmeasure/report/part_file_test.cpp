// Part files: whatever is left of a run, the next one ends with the same part; merging gives what one run
// gives.

#include <kvmeasure/report/csv_row.h>
#include <kvmeasure/report/part_file.h>
#include <kvmeasure/report/part_merge.h>
#include <kvmeasure/report/part_statistics.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/random_data.h>
#include <tests/support/write_limit.h>

namespace {

class Parts : public testing::Test {
protected:
    static QByteArray read(const QString& name) { return ScratchDirectory::read(name); }
    static QString write(const QString& name, const QByteArray& bytes) {
        return ScratchDirectory::write(name, bytes);
    }

    static PartHead head(const QByteArray& plan = "aa") {
        return {"match", "1.0.0", "profile,z_mm,depth_mm,verdict,note\n", plan, {{"depth", "mm", 2, {0, 5}}}};
    }

    /// Files f0, f1, ...; file i has i % 3 profiles, or a row that says why not.
    static void work(PartFile& part, FileList& list) {
        for (ListedFile file; !part.isComplete() && list.next(file);) {
            if (part.wasDone())
                continue;
            const int i = file.path.mid(1).toInt();
            for (int k = 0; k < i % 3; ++k)
                part.add(csvRow({file.path + QString("#%1").arg(k), "", QString::number(i * 0.1 + k), "found",
                                 "a, \"b\""})
                             .toUtf8(),
                         k == 0 ? PartRow::Good : PartRow::Missed);
            if (i % 3 == 0)
                part.add(csvRow({file.path, "", "", "NOT READ", "no such file"}).toUtf8(), PartRow::Failed);
            part.endFile();
        }
    }

    static QByteArray names(int from, int to) {
        QByteArray text;
        for (int i = from; i < to; ++i)
            text += 'f' + QByteArray::number(i) + '\n';
        return text;
    }

    static PartTotals make(const QString& path, const QByteArray& listed, const PartHead& of = head()) {
        FileList list(write("list.txt", listed));
        PartFile part(path, of, list);
        work(part, list);
        part.commit();
        return part.totals();
    }

private:
    const ScratchDirectory scratch_;
};

TEST_F(Parts, EveryCutAndEveryWrongByteOfAPartialResultLeadsToTheSamePart) {
    const PartTotals totals = make("whole.csv", names(0, 5));
    EXPECT_EQ(totals.files, 5);
    EXPECT_EQ(totals.rows, 6);
    EXPECT_EQ(totals.missed, 1);
    EXPECT_EQ(totals.failed, 2);
    {
        FileList list(write("list.txt", names(0, 5)));
        PartFile part("left.csv", head(), list);
        work(part, list);
    }
    const QByteArray left = read("left.csv.partial");
    ASSERT_GT(left.size(), 300);
    int mostDone = 0;
    for (int i = 0; i < 2 * left.size(); i += 3) {
        SCOPED_TRACE(i);
        QByteArray damaged = left.left(i / 2);
        if (i % 2 == 1) {
            damaged = left;
            damaged[i / 2] = static_cast<char>(damaged[i / 2] ^ 1);
        }
        write("part.csv.partial", damaged);
        try {
            FileList list("list.txt");
            PartFile part("part.csv", head(), list);
            mostDone = qMax(mostDone, static_cast<int>(part.totals().files));
            work(part, list);
            part.commit();
        } catch (const Error& error) {  // a first word that is not the program's
            EXPECT_THAT(error, Says("part.csv.partial: is no partial result; move it away"));
            EXPECT_LT(i, 20);
            EXPECT_EQ(read("part.csv.partial"), damaged);
            continue;
        }
        ASSERT_EQ(read("part.csv"), read("whole.csv"));
        ASSERT_EQ(read("part.csv.partial"), "none");
        QFile::remove("part.csv");
    }
    EXPECT_GE(mostDone, 4) << "what was done was not measured again";
}

TEST_F(Parts, MergedPartsAreOneRunByteByByte) {
    make("all.csv", names(0, 12));
    for (int cut = 1; cut < 12; ++cut) {
        SCOPED_TRACE(cut);
        make("a.csv", names(0, cut));
        make("b.csv", names(cut, 12));
        const MergedParts merged = mergeParts({"a.csv", "b.csv"}, "merged.csv");
        EXPECT_EQ(read("merged.csv"), read("all.csv"));
        EXPECT_EQ(merged.duplicates, 0);
        for (const char* name : {"a.csv", "b.csv", "merged.csv"})
            QFile::remove(name);
    }
    const ValueSeries depth = readPartValues("all.csv").at(0);
    EXPECT_EQ(depth.values, (std::vector<double>{0.1, 0.2, 1.2, 0.4, 0.5, 1.5, 0.7, 0.8, 1.8, 1, 1.1, 2.1}));
    EXPECT_EQ(depth.missing, 4);
    EXPECT_EQ(depth.limits.upper, 5);
    const QJsonObject json = partStatisticsJson({depth})[0].toObject();
    EXPECT_NEAR(json["mean"].toDouble(), 11.4 / 12, 1e-15);
    EXPECT_NEAR(json["percentiles"].toObject()["50"].toDouble(), 0.9, 1e-15);
    make("again.csv", "f7\nf1\n#\nf7\n");
    const MergedParts merged = mergeParts({"all.csv", "again.csv"}, "merged.csv");
    EXPECT_EQ(merged.duplicates, 3);
    EXPECT_EQ(merged.duplicate, "f7#0");
    // Signs that are no numbers of profiles belong to the names of files.
    make("odd.csv", "x#a\nx#b\nx#a\n#5\n#6\n#7\n#6\nx#\n");
    const MergedParts odd = mergeParts({"odd.csv"}, "odd_merged.csv");
    EXPECT_EQ(odd.duplicates, 2);
    EXPECT_EQ(odd.duplicate, "x#a");
}

TEST_F(Parts, WhatDoesNotGoTogetherIsRefused) {
    make("a.csv", names(0, 3));
    FileList list("list.txt");
    FileList other(write("other.txt", names(0, 4)));
    const QByteArray whole = read("a.csv");
    const auto partOf = [](const QString& path, const PartHead& of, const FileList& from) {
        return textOf(errorOf([&] { PartFile(path, of, from); }));
    };
    EXPECT_THAT(partOf("a.csv", head("bb"), list),
                HasSubstr("a.csv: is there and was made with another plan"));
    EXPECT_THAT(partOf("a.csv", head(), other), HasSubstr("made with another list, of 3 files"));
    EXPECT_THAT(partOf(write("x.csv", "1,2\n"), head(), list), HasSubstr("is there and is no complete part"));
    EXPECT_THAT(partOf("none/x.csv", head(), list), HasSubstr("none/x.csv: cannot be written"));
    const PartFile held("held.csv", head(), list);
    EXPECT_THAT(partOf("held.csv", head(), list), HasSubstr("another run of kvmeasure writes this part"));
    EXPECT_TRUE(PartFile("a.csv", head(), list).isComplete());
    EXPECT_EQ(read("a.csv"), whole);

    make("b.csv", names(3, 4), head("bb"));
    PartHead columns = head();
    columns.columns = "profile,z_mm,width_mm,verdict,note\n";
    make("c.csv", names(3, 4), columns);
    write("cut.csv", whole.left(whole.size() - 1));
    write("short.csv", QByteArray(whole).remove(whole.indexOf("f1"), 1));
    const struct {
        QStringList parts;
        const char* reason;
    } merges[] = {{{"a.csv", "b.csv"}, "b.csv: was made with another plan or other options than a.csv"},
                  {{"a.csv", "c.csv"}, "c.csv: was made with other columns than a.csv"},
                  {{"a.csv", "./a.csv"}, "./a.csv: is named twice"},
                  {{"a.csv", "cut.csv"}, "cut.csv: is no complete part"},
                  {{"short.csv"}, "its rows were changed"},
                  {{"a.csv", "list.txt"}, "list.txt: is no complete part"},
                  {{"a.csv", "out.csv"}, "out.csv: is read by this command"}};
    for (const auto& merge : merges)
        EXPECT_THAT([&] { mergeParts(merge.parts, "out.csv"); }, Refuses(merge.reason));
    EXPECT_EQ(read("out.csv"), "none");
}

TEST_F(Parts, WhatAFullDiskOrAnotherHandLeavesIsNamed) {
    FileList list(write("list.txt", names(0, 5)));
    const auto errorFrom = [&list](const QString& path) {
        return textOf(errorOf([&] { PartFile(path, head(), list); }));
    };
    {
        const WriteLimit limit(8);
        EXPECT_THAT(errorFrom("full.csv"), HasSubstr("full.csv.partial: cannot be written: File too large"));
    }
    PartFile part("late.csv", head(), list);
    {
        const WriteLimit limit(1000);
        EXPECT_THAT(
            [&part] {
                for (int i = 0; i < 100; ++i) {
                    part.add(QByteArray(99, 'x') + '\n', PartRow::Good);
                    part.endFile();
                }
            },
            Refuses("late.csv.partial: cannot be written: File too large"));
        EXPECT_THAT([&part] { part.add(QByteArray(99'999, 'x') + '\n', PartRow::Good); },
                    Refuses("cannot be written: File too large"));
    }
    QDir().mkpath("taken.csv.partial");
    QDir().mkpath("folder.csv");
    EXPECT_THAT(errorFrom("taken.csv"), HasSubstr("taken.csv.partial: is no partial result; move it away"));
    EXPECT_THAT(errorFrom("folder.csv"), HasSubstr("folder.csv: is there and is no complete part"));
    // Killed between the last two steps: the partial result is still there.
    make("whole.csv", names(0, 5));
    const QByteArray whole = read("whole.csv");
    FileList again("list.txt");
    { PartFile begun("other.csv", head(), again); }
    ASSERT_TRUE(QFile::rename("other.csv.partial", "whole.csv.partial"));
    EXPECT_TRUE(PartFile("whole.csv", head(), again).isComplete());
    EXPECT_EQ(read("whole.csv.partial"), "none");
    write("whole.csv.partial", "mine");
    PartFile complete("whole.csv", head(), again);
    complete.commit();
    EXPECT_EQ(read("whole.csv.partial"), "mine") << "what is no partial result stays";
    EXPECT_EQ(read("whole.csv"), whole);
}

TEST_F(Parts, ASummaryThatWasChangedIsNoSummary) {
    make("a.csv", names(0, 5));
    const QByteArray whole = read("a.csv");
    const std::pair<QByteArray, QByteArray> changes[] = {
        {"\"files\":5", "\"files\":-5"},     {"\"rows\":6", "\"rows\":6.5"},
        {"\"missed\":1", "\"missed\":1e20"}, {"\"failed\":2", "\"failed\":\"\""},
        {"\"list\":\"", "\"list\":\"x"},     {"# part {", "# part ["},
        {"\"missed\":1", "\"other\":1"}};
    for (const auto& [from, to] : changes) {
        ASSERT_TRUE(whole.contains(from)) << from.constData();
        write("b.csv", QByteArray(whole).replace(from, to));
        EXPECT_THAT([] { readPartValues("b.csv"); }, Refuses("b.csv: is no complete part")) << to.constData();
    }
    for (const char* few : {"", "x", "\n"})
        EXPECT_THAT([few] { readPartValues(write("b.csv", few)); }, Refuses("is no complete part"));
    // A word of the same length in the place of a value, and limits on one side, on none.
    write("word.csv", QByteArray(whole).replace(",0.1,found", ",abc,found"));
    const Error error = errorOf([] { readPartValues("word.csv"); });
    EXPECT_THAT(error, Says("word.csv: line 3: \"abc\" is no number"));
    PartHead open = head();
    open.values = {{"depth", "mm", 2, {}}, {"gone", "mm", 9, {std::numeric_limits<double>::quiet_NaN(), 4}}};
    make("open.csv", names(0, 5), open);
    const QList<ValueSeries> series = readPartValues("open.csv");
    EXPECT_FALSE(std::isfinite(series[0].limits.lower) || std::isfinite(series[0].limits.upper));
    EXPECT_EQ(series[1].missing, 6);
    const QJsonArray json = partStatisticsJson(series);
    EXPECT_FALSE(json[0].toObject().contains("cpk"));
    EXPECT_EQ(json[1].toObject()["reason"], "there is no value");
    EXPECT_EQ(json[1].toObject()["limits"].toArray()[1].toDouble(), 4);
    EXPECT_THAT(partStatisticsText(series), Says("gone"));
    // Other programs, other versions; rows of one profile with several assignments have one name.
    PartHead command = head(), version = head(), several = head();
    command.command = "measure";
    version.version = "0.9";
    several.columns = "profile,assignment,depth_mm,verdict,note\n";
    make("command.csv", names(5, 6), command);
    make("version.csv", names(5, 6), version);
    EXPECT_THAT(
        [] {
            mergeParts({"a.csv", "command.csv"}, "o.csv");
        },
        Refuses("was made with another command (\"measure\")"));
    EXPECT_THAT(
        [] {
            mergeParts({"a.csv", "version.csv"}, "o.csv");
        },
        Refuses("was made with another version (0.9)"));
    FileList one(write("one.txt", "f1\n"));
    PartFile part("several.csv", several, one);
    for (const char* row :
         {"f1#0,best,1,good,\n", "f1#0,2,9,good,\n", "f1#1,best,3,good,\n", "f1#0,best,1,good,\n"})
        part.add(row, PartRow::Good);
    part.endFile();
    part.commit();
    EXPECT_EQ(readPartValues("several.csv").at(0).values, (std::vector<double>{1, 3, 1})) << "the best alone";
    EXPECT_EQ(mergeParts({"several.csv"}, "o.csv").duplicates, 1);
    make("alone.csv", "f1\nf1\n");
    EXPECT_EQ(mergeParts({"alone.csv"}, "o.csv").duplicates, 1);
}

TEST_F(Parts, RowsAreReadAsTheyWereWritten) {
    Draws draws(5);
    const QString letters = "a,\"# é";
    for (int run = 0; run < 500; ++run) {
        QStringList fields;
        for (int i = 0; i < 4; ++i) {
            fields.append(QString());
            while (draws.integer(0, 9) < 7)
                fields.last() += letters[draws.integer(0, 5)];
        }
        const QByteArray row = csvRow(fields).toUtf8();
        EXPECT_FALSE(row.startsWith('#'));
        const QList<QByteArray> taken = csvFields(row);
        ASSERT_EQ(taken.size(), fields.size()) << row.constData();
        for (int i = 0; i < fields.size(); ++i)
            EXPECT_EQ(QString::fromUtf8(taken[i]), fields[i]) << row.constData();
    }
}

TEST(NameSet, KnowsEachOfManyNamesOnce) {
    NameSet names;
    for (const bool isNew : {true, false}) {
        for (int i = 0; i < 20'000; ++i)
            ASSERT_EQ(names.insert("scan_" + QByteArray::number(i) + ".csv"), isNew) << i;
    }
}

TEST(ListDigest, TellsOrderAndContentAndIsReadBack) {
    const auto digestOf = [](const QList<QByteArray>& names) {
        ListDigest digest;
        for (const QByteArray& name : names)
            digest.add(name);
        return digest;
    };
    ListDigest joined = digestOf({"a", "b"});
    joined.append(digestOf({"c"}));
    EXPECT_EQ(joined, digestOf({"a", "b", "c"}));
    EXPECT_NE(joined, digestOf({"a", "c", "b"}));
    EXPECT_NE(joined, digestOf({"a", "bc"}));
    ListDigest read;
    ASSERT_TRUE(read.read(joined.text(), 3));
    EXPECT_EQ(read, joined);
    EXPECT_NE(ListDigest(), joined);
    EXPECT_EQ(digestOf({"part_1.csv", "H\xC3\xB6he.csv", "x"}).text(), "36dac5481caa04b7")
        << "as parts hold it";
    const QByteArray text = joined.text();
    for (const QByteArray& bad :
         {QByteArray(), text.left(15), text + '0', "g" + text.mid(1), text.left(8) + "xxxxxxxx",
          "ffffffff" + text.mid(8), text.left(8) + "ffffffff"})
        EXPECT_FALSE(read.read(bad, 3)) << bad.toStdString();
    EXPECT_FALSE(read.read(text, -1));
    EXPECT_EQ(read, joined) << "as it was";
}

TEST(FileList, TakesNamesAsTheyStandAndRefusesWhatIsNoList) {
    const ScratchDirectory scratch;
    scratch.write("list.txt", "\xEF\xBB\xBF"
                              "a b.csv\r\n\n\"q\".csv\na b.csv\nlast");
    FileList list("list.txt");
    EXPECT_EQ(list.digest().count(), 4);
    EXPECT_EQ(list.duplicates(), 1);
    EXPECT_EQ(list.duplicate(), "a b.csv");
    QStringList paths;
    for (ListedFile file; list.next(file);)
        paths << file.path;
    EXPECT_EQ(paths, (QStringList{"a b.csv", "\"q\".csv", "a b.csv", "last"}));
    const std::pair<QByteArray, const char*> bad[] = {
        {"", "names no file; it takes one name a line"},
        {"\n\r\n", "names no file"},
        {"a\n" + QByteArray(70'000, 'x'), "line 2 is longer than 64 kB"},
        {QByteArray("a\0b", 3), "line 1 has bytes 0: save the list as UTF-8"}};
    for (const auto& [content, reason] : bad) {
        scratch.write("list.txt", content);
        EXPECT_THAT([] { FileList("list.txt"); }, Refuses(reason));
    }
}

}  // namespace
