#ifndef ORVCTL_METRIC_FAMILIES_H
#define ORVCTL_METRIC_FAMILIES_H

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/orvctl/table.h"

namespace orvctl {

using metric_labels = std::vector<std::pair<std::string, std::string>>;

/// Measured values in families, written as OpenMetrics text. All of them are gauges: they tell how
/// the machine is now. Facts that are texts are labels of a gauge "..._info" of 1, which a reader
/// of the older Prometheus format takes too; types that only one of the formats has are not used.
class metric_families {
 public:
  /// Begins a family. The last word of its name is its unit when it is measured in one.
  void begin(const std::string& name, const std::string& help, const std::string& unit = "");

  /// A value of the family that was begun last. A null says nothing, and so does a second value of
  /// the same labels.
  void add(const metric_labels& labels, const json& value);

  std::string text() const;
  json objects() const;

 private:
  struct sample {
    metric_labels labels;
    json value;
  };
  struct family {
    std::string name;
    std::string help;
    std::string unit;
    std::vector<sample> samples;
    std::set<metric_labels> seen;
  };
  std::vector<family> families_;
};

}  // namespace orvctl

#endif
