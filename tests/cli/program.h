#pragma once
// Runs the program in a scratch directory: arguments in; standard output, standard error, files and exit
// code out.

#include <tests/support/scratch_directory.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Outcome {
    int code = -1;
    std::string out, err;
    QJsonObject json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(out)).object(); }
};

class Program : public testing::Test {
protected:
    QString path(const QString& name) const { return scratch_.directory.filePath(name); }
    QString write(const QString& name, const QByteArray& bytes) const { return scratch_.write(name, bytes); }
    QByteArray read(const QString& name) const { return scratch_.read(name); }

    Outcome run(const QStringList& arguments) const {
        QProcess process;
        process.start(KVMEASURE_PROGRAM, arguments);
        Outcome result;
        if (!process.waitForFinished(100'000)) {
            process.kill();
            process.waitForFinished();
            ADD_FAILURE() << "does not end: " << arguments.join(' ').toStdString();
            return result;
        }
        if (process.exitStatus() == QProcess::NormalExit)
            result.code = process.exitCode();
        result.out = process.readAllStandardOutput().toStdString();
        result.err = process.readAllStandardError().toStdString();
        return result;
    }

    /// Arguments separated by single blanks.
    Outcome run(const char* arguments) const { return run(QString(arguments).split(' ')); }

    void expectRefused(const QStringList& arguments, const std::string& reason) const {
        const Outcome result = run(arguments);
        EXPECT_EQ(result.code, 2) << arguments.join(' ').toStdString();
        EXPECT_THAT(result.err, HasSubstr(reason)) << arguments.join(' ').toStdString();
    }

    void expectRefused(const char* arguments, const std::string& reason) const {
        expectRefused(QString(arguments).split(' '), reason);
    }

    void simulate(const QString& name, const QStringList& more) const {
        const Outcome result = run(QStringList{"simulate", "profile", "--out", name} + more);
        ASSERT_EQ(result.code, 0) << result.err;
    }
    void simulate(const QString& name, const char* more) const { simulate(name, QString(more).split(' ')); }

private:
    const TestSupport::ScratchDirectory scratch_;
};
