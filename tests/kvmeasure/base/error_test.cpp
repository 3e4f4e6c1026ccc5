// What an error tells, and what it keeps when it gets another place or name. Progress, and how it cancels.

#include <kvmeasure/base/progress.h>
#include <tests/kvmeasure/calls.h>

namespace {

TEST(Errors, NameParametersAsTheHeadersDoAndAsAHostDoes) {
    const Error error("give \1pitch\2 or \1columns\2\u00B5");
    EXPECT_EQ(error.parameter(), "pitch");
    EXPECT_STREQ(error.what(), "give pitch or columns\u00B5");
    const ParameterName host = [](const QString& name) { return "--" + name; };
    EXPECT_EQ(error.text(host), QString::fromUtf8("give --pitch or --columns\u00B5"));
    EXPECT_EQ(error.at("a.csv").text(host), QString::fromUtf8("a.csv: give --pitch or --columns\u00B5"));
    for (const char* open : {"\x01", "\x02", "\x02 \x01", "a\x01 b", "a\x02"}) {
        EXPECT_EQ(withParameters(open, host), open) << "a mark without its other is text";
        EXPECT_EQ(Error(open).parameter(), "");
    }
}

TEST(Errors, TakeNoNameOfAFileForAParameter) {
    const QString name = "\1units\2.csv";
    const std::string shown = "\\u0001units\\u0002.csv";
    const Error missing = Error(name + ": no such file").inFile(name);
    EXPECT_EQ(textOf(missing), shown + ": no such file");
    EXPECT_EQ(missing.parameter(), "");
    EXPECT_EQ(missing.file(), name);
    EXPECT_EQ(textOf(Error("give \1pitch\2").at(name)), shown + ": give pitch");
    EXPECT_EQ(Error("give \1pitch\2").at(name).parameter(), "pitch");
    EXPECT_EQ(textOf(missing.renamed(name, "-")), "-: no such file");
}

TEST(Errors, KeepTheirPlaceUnderAnotherName) {
    Error error("/tmp/x: line 3: \1unset\2 is no number");
    EXPECT_TRUE(error.file().isEmpty() && error.line() == 0 && error.offset() == -1 && !error.isCancelled());
    error.inFile("/tmp/x").atLine(3).atOffset(17).asCancelled();
    for (const Error& other : {error.renamed("/tmp/x", "-"), error.at("pass"), error.at("/tmp/x")}) {
        EXPECT_EQ(other.file(), other.text().startsWith('-') ? "-" : "/tmp/x");
        EXPECT_EQ(other.line(), 3);
        EXPECT_EQ(other.offset(), 17);
        EXPECT_EQ(other.parameter(), "unset");
        EXPECT_TRUE(other.isCancelled());
    }
    EXPECT_EQ(textOf(error.renamed("/tmp/x", "-")), "-: line 3: unset is no number");
    EXPECT_EQ(textOf(error.renamed("", "-")), textOf(error)) << "of a file without a name";
    EXPECT_EQ(textOf(error.at("/tmp/x")), textOf(error)) << "it stands there";
    EXPECT_EQ(textOf(error.at("pass")), "pass: " + textOf(error));
    EXPECT_EQ(textOf(Error("has two columns").at("has")), "has: has two columns") << "a file called \"has\"";
}

TEST(ProgressReports, TellThatWorkIsDoneWhateverEndedIt) {
    std::vector<qint64> told;
    const Progress progress = [&told](const QString& what, qint64 done, qint64 total) {
        EXPECT_EQ(what, "work");
        EXPECT_EQ(total, 9);
        told.push_back(done);
        return done != 5;
    };
    { const ProgressReport silent(progress, "work", 9); }
    EXPECT_THAT(told, testing::IsEmpty()) << "work that never began";
    {
        ProgressReport report(progress, "work", 9);
        report.show(0);
        report.show(4);
        const Error error = errorOf([&report] { report.show(5); });
        EXPECT_EQ(textOf(error), "work: cancelled");
        EXPECT_TRUE(error.isCancelled());
    }
    EXPECT_THAT(told, testing::ElementsAre(0, 4, 5, 9));
    const Progress throws = [](const QString&, qint64 done, qint64) -> bool {
        if (done == 9)
            throw Error("at the end");
        return true;
    };
    EXPECT_NO_THROW({
        ProgressReport report(throws, "work", 9);
        report.show(1);
    });
    const Progress nobody;
    ProgressReport(nobody, "work", 9).show(1);
}

}  // namespace
