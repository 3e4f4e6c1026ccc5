#pragma once
// Results that are published when all is measured: --mqtt of commands without profiles that come one by one.

#include "cli/arguments.h"

#include <kvmeasure/report/mqtt_publisher.h>

#include <QtCore/QJsonArray>

#include <optional>

namespace KvMeasure {

/// --mqtt; `what` is published as a JSON line.
Option mqttOption(const char* what);

/// The broker of --mqtt; nothing without the option. Throws Error for a text that names none.
std::optional<MqttPlace> brokerOf(const Arguments& arguments);

/// Publishes the objects, a message each, and says how many. Without a broker: nothing. Returns `code`, or
/// Refused where some are not published, which is said.
int publish(const std::optional<MqttPlace>& broker, const QJsonArray& objects, int code);

}  // namespace KvMeasure
