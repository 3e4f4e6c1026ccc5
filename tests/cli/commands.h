#pragma once
// Calls the commands without a process, in a scratch directory: a line of words in; standard output, standard
// error and exit code out.

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"

#include <kvmeasure/base/error.h>
#include <tests/support/scratch_directory.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <gmock/gmock.h>

#include <algorithm>

struct Called {
    int code = -1;
    std::string out, err;
    QJsonObject json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(out)).object(); }
};

class Commands : public testing::Test {
protected:
    QString write(const QString& name, const QByteArray& bytes) const { return scratch_.write(name, bytes); }
    std::string read(const QString& name) const { return scratch_.read(name).toStdString(); }

    /// Blanks part the words; "~" is a blank within one.
    static Called call(const QString& line) {
        Called result;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        try {
            result.code = KvMeasure::runCommand(line.split(' ').replaceInStrings("~", " "));
        } catch (const KvMeasure::Help& help) {
            KvMeasure::print(help.text);
            result.code = KvMeasure::Done;
        } catch (const KvMeasure::Error& error) {
            KvMeasure::complain(error.text(KvMeasure::optionOf));
            result.code = KvMeasure::Refused;
        }
        result.out = testing::internal::GetCapturedStdout();
        result.err = testing::internal::GetCapturedStderr();
        return result;
    }

    /// A line, its exit code, and what it says: on standard error where it is refused, else on standard
    /// output.
    struct Line {
        QString words;
        int code;
        std::vector<std::string> says;
    };

    static void expect(const std::vector<Line>& lines) {
        for (const Line& line : lines) {
            SCOPED_TRACE(line.words.toStdString());
            const Called result = call(line.words);
            EXPECT_EQ(result.code, line.code) << result.err;
            std::string said = line.code == KvMeasure::Refused ? result.err : result.out;
            said.erase(
                std::unique(said.begin(), said.end(), [](char a, char b) { return a == ' ' && b == ' '; }),
                said.end());
            for (const std::string& part : line.says)
                EXPECT_THAT(said, testing::HasSubstr(part));
            EXPECT_THAT(said, testing::Not(testing::HasSubstr("nan")));
        }
    }

private:
    const TestSupport::ScratchDirectory scratch_;
};
