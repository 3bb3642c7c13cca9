#ifndef ORV_EXPORT_H
#define ORV_EXPORT_H

/// Marks what the two libraries export; everything else in them is hidden.
#if defined(ORV_BUILDING)
#define ORV_API __attribute__((visibility("default")))
#else
#define ORV_API
#endif

#endif
