// Each constraint stands in the list of the highest line that it reads. So check(level) asks exactly those
// that the line just assigned makes decidable, and the search cuts a branch as early as it can. The template
// owns its constraints; documents and records make them through the table of kinds.
#include <kvmath/tsearch/template.h>

#include <kvmath/tsearch/constraint_kinds_p.h>
#include <kvmath/tsearch/stored_fields_p.h>
#include <kvmath/tsearch/type_tag_p.h>

#include <algorithm>

namespace KvMath {

using namespace Internal;

namespace {

constexpr int kMaxLines = 65536;

using ConstraintPtr = std::unique_ptr<TSConstraint>;

/// A new constraint of the kind that `matches`, or null.
template <class Predicate>
ConstraintPtr makeConstraint(Predicate matches) {
    const auto& kinds = constraintKinds();
    const auto found = std::find_if(kinds.begin(), kinds.end(), matches);
    return ConstraintPtr(found == kinds.end() ? nullptr : found->make());
}

}  // namespace

TSTemplate::TSTemplate(int linesNumber)
    : lists_(static_cast<size_t>(std::clamp(linesNumber, 0, kMaxLines))) {}

TSTemplate::TSTemplate(const TSTemplate& other) : lists_(other.lists_.size()) {
    for (size_t line = 0; line < lists_.size(); ++line) {
        for (TSConstraint* constraint : other.lists_[line]) {
            if (TSConstraint* copy = constraint->clone())
                lists_[line].append(copy);
        }
    }
}

TSTemplate& TSTemplate::operator=(const TSTemplate& other) {
    if (this == &other)
        return *this;
    TSTemplate copy(other);
    lists_.swap(copy.lists_);
    return *this;
}

TSTemplate::~TSTemplate() { removeAllConstraints(); }

/// List that a constraint belongs in, or -1. A host's constraint may answer at random: each answer is asked
/// for once and judged on its own.
int TSTemplate::listFor(TSConstraint& constraint) const {
    const int highest = constraint.getMaximumLineIndex();
    const bool fits = highest >= 0 && highest < getTemplateLinesNumber();
    return fits && constraint.getMinimumLineIndex() >= 0 ? highest : -1;
}

bool TSTemplate::addConstraint(TSConstraint* constraint) {
    const int line = constraint != nullptr ? listFor(*constraint) : -1;
    if (line < 0)
        return false;
    const auto holds = [constraint](const QList<TSConstraint*>& list) { return list.contains(constraint); };
    if (std::any_of(lists_.begin(), lists_.end(), holds))
        return false;
    lists_[static_cast<size_t>(line)].append(constraint);
    return true;
}

bool TSTemplate::removeConstraint(TSConstraint* constraint) {
    for (QList<TSConstraint*>& list : lists_) {
        if (list.removeOne(constraint)) {
            delete constraint;
            return true;
        }
    }
    return false;
}

void TSTemplate::removeAllConstraints() {
    for (QList<TSConstraint*>& list : lists_) {
        qDeleteAll(list);
        list.clear();
    }
}

QList<TSConstraint*> TSTemplate::getAllConstraints() const {
    QList<TSConstraint*> all;
    for (const QList<TSConstraint*>& list : lists_)
        all += list;
    return all;
}

QList<TSConstraint*> TSTemplate::_getConstraintsForLine(int line) const {
    return line >= 0 && line < getTemplateLinesNumber() ? lists_[static_cast<size_t>(line)]
                                                        : QList<TSConstraint*>();
}

bool TSTemplate::setTemplateLinesNumber(int linesNumber) {
    if (linesNumber < 0 || linesNumber > kMaxLines)
        return false;
    for (size_t line = static_cast<size_t>(linesNumber); line < lists_.size(); ++line) {
        if (!lists_[line].isEmpty())
            return false;
    }
    lists_.resize(static_cast<size_t>(linesNumber));
    return true;
}

int TSTemplate::getTemplateLinesNumber() const { return static_cast<int>(lists_.size()); }

bool TSTemplate::check(LinePP* lines, int* assignment, int level) const {
    if (level < 0 || level >= getTemplateLinesNumber())
        return true;
    for (TSConstraint* constraint : lists_[static_cast<size_t>(level)]) {
        if (constraint->getMaximumLineIndex() > level || !constraint->check(lines, assignment))
            return false;
    }
    return true;
}

bool TSTemplate::save(QVariant& doc) const {
    QVariantList constraints;
    for (const QList<TSConstraint*>& list : lists_) {
        for (TSConstraint* constraint : list) {
            QVariantMap entry{{QStringLiteral("constraintType"), constraint->getType()}};
            if (!constraint->save(entry))
                return false;
            constraints.append(entry);
        }
    }
    doc = QVariantMap{{QStringLiteral("numOfLines"), getTemplateLinesNumber()},
                      {QStringLiteral("constraints"), constraints}};
    return true;
}

bool TSTemplate::save(QDataStream& stream) const {
    if (!writeRaw(stream, static_cast<qint32>(getTemplateLinesNumber())))
        return false;
    for (const QList<TSConstraint*>& list : lists_) {
        if (!writeRaw(stream, static_cast<qint32>(list.size())))
            return false;
        for (TSConstraint* constraint : list) {
            if (!writeTypeTag(stream, constraint->getType()) || !constraint->save(stream))
                return false;
        }
    }
    return true;
}

bool TSTemplate::load(const QVariant& doc) {
    removeAllConstraints();
    if (doc.userType() != QMetaType::QVariantMap)
        return false;
    const QVariantMap map = doc.toMap();
    const QVariant constraints = map.value(QStringLiteral("constraints"));
    int linesNumber = 0;
    if (!readIndex(map.value(QStringLiteral("numOfLines")), linesNumber) ||
        constraints.userType() != QMetaType::QVariantList || !setTemplateLinesNumber(linesNumber))
        return false;
    const QVariantList entries = constraints.toList();
    return std::all_of(entries.begin(), entries.end(),
                       [this](const QVariant& entry) { return loadConstraint(entry); });
}

/// Loads a new constraint from its map or record and adds it. It cannot be held yet, so that no list is
/// searched.
template <class Source>
bool TSTemplate::adopt(ConstraintPtr constraint, Source& source) {
    if (constraint == nullptr || !constraint->load(source))
        return false;
    const int line = listFor(*constraint);
    if (line < 0)
        return false;
    lists_[static_cast<size_t>(line)].append(constraint.release());
    return true;
}

bool TSTemplate::loadConstraint(const QVariant& entry) {
    if (entry.userType() != QMetaType::QVariantMap)
        return false;
    QVariantMap map = entry.toMap();
    const QString name = map.value(QStringLiteral("constraintType")).toString();
    return adopt(makeConstraint([&name](const ConstraintKind& kind) { return kind.type == name; }), map);
}

bool TSTemplate::load(QDataStream& stream) {
    removeAllConstraints();
    qint32 linesNumber = 0;
    if (!readRaw(stream, linesNumber) || !setTemplateLinesNumber(linesNumber))
        return false;
    for (qint32 line = 0; line < linesNumber; ++line) {
        qint32 count = 0;
        if (!readRaw(stream, count) || count < 0)
            return false;
        for (qint32 k = 0; k < count; ++k) {
            if (!loadConstraint(stream))
                return false;
        }
    }
    return true;
}

bool TSTemplate::loadConstraint(QDataStream& stream) {
    quint64 tag = 0;
    if (!readTypeTag(stream, tag))
        return false;
    return adopt(makeConstraint([tag](const ConstraintKind& kind) { return kind.tag == tag; }), stream);
}

}  // namespace KvMath
