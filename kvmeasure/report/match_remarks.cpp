#include <kvmeasure/report/match_report_p.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace KvMeasure {

namespace {

/// What may mislead in a value, without what is said of its uncertainty.
QString warningBesideU(const Value& value) {
    if (value.warning == value.aboutU)
        return {};
    QString warning = value.warning;
    if (warning.endsWith(value.aboutU)) {
        warning.chop(static_cast<int>(value.aboutU.size()));
        warning.chop(warning.endsWith(QLatin1String("; ")) ? 2 : 0);
    }
    return warning;
}

/// Sentences with the names of the values that each concerns, in the order in which they came.
class Sentences {
public:
    void add(const QString& sentence, const QString& name) {
        if (sentence.isEmpty())
            return;
        const auto found = std::find(sentences_.begin(), sentences_.end(), sentence);
        concerned_.emplace_back(found - sentences_.begin(), &name);
        if (found == sentences_.end())
            sentences_.push_back(sentence);
    }

    /// "depth, width: why; all values: why", where there are as many values.
    QString text(int values) const {
        QString text;
        for (std::size_t i = 0; i < sentences_.size(); ++i) {
            text += QLatin1String(i == 0 ? "" : "; ");
            addNames(std::ptrdiff_t(i), values, text);
            text += QLatin1String(": ");
            text += sentences_[i];
        }
        return text;
    }

private:
    void addNames(std::ptrdiff_t sentence, int values, QString& text) const {
        const auto isOfIt = [&](const auto& pair) { return pair.first == sentence; };
        if (values > 1 && std::count_if(concerned_.begin(), concerned_.end(), isOfIt) == values) {
            text += QLatin1String("all values");
            return;
        }
        bool isFirst = true;
        for (const auto& pair : concerned_) {
            if (!isOfIt(pair))
                continue;
            text += QLatin1String(isFirst ? "" : ", ");
            text += *pair.second;
            isFirst = false;
        }
    }

    std::vector<QString> sentences_;
    std::vector<std::pair<std::ptrdiff_t, const QString*>> concerned_;  ///< number of a sentence, and a name
};

}  // namespace

QString remarks(const Evaluation& evaluation) {
    const auto isSilent = [](const Value& value) {
        return value.reason.isEmpty() && value.warning.isEmpty();
    };
    if (std::all_of(evaluation.values.begin(), evaluation.values.end(), isSilent))
        return {};
    Sentences sentences;
    for (const Value& value : evaluation.values) {
        sentences.add(value.reason, value.name);
        sentences.add(warningBesideU(value), value.name);
        sentences.add(value.aboutU, value.name);
    }
    return sentences.text(static_cast<int>(evaluation.values.size()));
}

QString verdictText(const Evaluation& evaluation, bool isFound) {
    QStringList invalid;
    QStringList outside;
    bool isJudged = false;
    for (const Value& value : evaluation.values) {
        isJudged = isJudged || value.hasTolerance;
        if (!value.isValid)
            invalid.append(value.name);
        else if (!value.isGood())
            outside.append(value.name);
    }
    QStringList parts;
    if (!isFound)
        parts.append("NOT FOUND");
    if (!outside.isEmpty())
        parts.append("OUT: " + outside.join(", "));
    if (!invalid.isEmpty())
        parts.append("NOT MEASURED: " + invalid.join(", "));
    static const QString good = "good";
    static const QString found = "found";
    if (parts.isEmpty())
        return isJudged ? good : found;
    return parts.join("; ");
}

}  // namespace KvMeasure
