// What of a plan does not go together: names that are there twice or not at all, anchors that need
// themselves.

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/master_values_p.h>

#include <QtCore/QHash>
#include <QtCore/QSet>

namespace KvMeasure {

namespace {

/// Names by their number, or the fault of one that is there twice.
template <class Entry>
QString index(const QList<Entry>& entries, const char* list, QHash<QString, int>& numbers) {
    for (int i = 0; i < static_cast<int>(entries.size()); ++i) {
        if (numbers.contains(entries[i].name))
            return filledIn("%1[%2]: there is a \"%3\" already", QString(list), i, entries[i].name);
        numbers[entries[i].name] = i;
    }
    return QString();
}

template <class Entry>
QStringList namesOf(const QList<Entry>& entries) {
    QStringList names;
    for (const Entry& entry : entries)
        names.append(entry.name);
    return names;
}

class PlanCheck {
public:
    explicit PlanCheck(const InspectionPlan& plan) : plan_(plan) {}

    QString fault();

private:
    QString unknown(const QString& where, const QString& what, const QString& name,
                    const QStringList& known) const;
    QString anchorFault(int number) const;
    QString regionFault(int number) const;
    QString loopFault(int number) const;
    QString toolFault(int number, QSet<QString>& taken) const;
    QString masterFault(const QSet<QString>& taken) const;

    const InspectionPlan& plan_;
    QHash<QString, int> regions_, anchors_;
};

QString PlanCheck::unknown(const QString& where, const QString& what, const QString& name,
                           const QStringList& known) const {
    return filledIn("%1: there is no %2 \"%3\"; known: %4%5", where, what, name,
                    known.isEmpty() ? QString("none") : known.join(", "), suggestion(name, known));
}

QString PlanCheck::anchorFault(int number) const {
    const Anchor& anchor = plan_.anchors[number];
    const QString where = filledIn("anchors[%1] \"%2\"", number, anchor.name);
    if (anchor.kind == Anchor::TemplateLine && !plan_.lineNames.contains(anchor.source))
        return unknown(where, "template line", anchor.source, plan_.lineNames);
    if (anchor.kind != Anchor::TemplateLine && !regions_.contains(anchor.source))
        return unknown(where, "region", anchor.source, namesOf(plan_.regions));
    return QString();
}

QString PlanCheck::regionFault(int number) const {
    const QString& name = plan_.regions[number].anchor;
    if (name.isEmpty() || anchors_.contains(name) || plan_.lineNames.contains(name))
        return QString();
    return unknown(filledIn("regions[%1] \"%2\"", number, plan_.regions[number].name), "anchor", name,
                   namesOf(plan_.anchors) + plan_.lineNames);
}

/// Follows region, anchor, region; more steps than there are regions are a loop.
QString PlanCheck::loopFault(int number) const {
    int at = number;
    for (int step = 0; step <= static_cast<int>(plan_.regions.size()); ++step) {
        const int anchor = anchors_.value(plan_.regions[at].anchor, -1);
        if (anchor < 0 || plan_.anchors[anchor].kind == Anchor::TemplateLine)
            return QString();
        at = regions_.value(plan_.anchors[anchor].source);
    }
    return filledIn("regions[%1] \"%2\": its anchor depends on a region at the same anchor", number,
                    plan_.regions[number].name);
}

QString PlanCheck::toolFault(int number, QSet<QString>& taken) const {
    const Tool& tool = plan_.tools[number];
    const QString where = filledIn("tools[%1] \"%2\"", number, tool.name);
    if (!tool.fault().isEmpty())
        return filledIn("%1: %2", where, tool.fault());
    for (const QString& region : tool.regions()) {
        if (!regions_.contains(region))
            return unknown(where, "region", region, namesOf(plan_.regions));
    }
    for (const ToolValue& value : tool.kind->values) {
        const QString name = tool.valueName(value);
        if (taken.contains(name))
            return filledIn("%1: there is a result \"%2\" already; give another name", where, name);
        taken.insert(name);
    }
    return QString();
}

QString PlanCheck::masterFault(const QSet<QString>& taken) const {
    const QString where = filledIn("master \"%1\"", plan_.master->name);
    if (!plan_.master->fault().isEmpty())
        return filledIn("%1: %2", where, plan_.master->fault());
    for (const ValueName& value : Internal::masterNames(plan_)) {
        if (taken.contains(value.name))
            return filledIn("%1: there is a result \"%2\" already; give another name", where, value.name);
    }
    return QString();
}

QString PlanCheck::fault() {
    QString fault = index(plan_.regions, "regions", regions_);
    if (fault.isEmpty())
        fault = index(plan_.anchors, "anchors", anchors_);
    for (int i = 0; fault.isEmpty() && i < static_cast<int>(plan_.anchors.size()); ++i)
        fault = anchorFault(i);
    for (int i = 0; fault.isEmpty() && i < static_cast<int>(plan_.regions.size()); ++i)
        fault = regionFault(i);
    for (int i = 0; fault.isEmpty() && i < static_cast<int>(plan_.regions.size()); ++i)
        fault = loopFault(i);
    QSet<QString> taken;
    for (const ValueName& value : measurementNames(plan_))
        taken.insert(value.name);
    for (int i = 0; fault.isEmpty() && i < static_cast<int>(plan_.tools.size()); ++i)
        fault = toolFault(i, taken);
    if (fault.isEmpty() && plan_.master)
        fault = masterFault(taken);
    return fault;
}

}  // namespace

QString planFault(const InspectionPlan& plan) { return PlanCheck(plan).fault(); }

}  // namespace KvMeasure
