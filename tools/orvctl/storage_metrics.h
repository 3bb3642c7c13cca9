#ifndef ORVCTL_STORAGE_METRICS_H
#define ORVCTL_STORAGE_METRICS_H

#include "tools/orvctl/inventory.h"
#include "tools/orvctl/metric_families.h"

namespace orvctl {

void measure_disks(const inventory& machine, metric_families& to);
void measure_arrays(const inventory& machine, metric_families& to);
void measure_volumes(const inventory& machine, metric_families& to);
void measure_file_systems(const inventory& machine, metric_families& to);

}  // namespace orvctl

#endif
