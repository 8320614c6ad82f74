#pragma once

/// Marks what libtarsel offers to programs and plug-ins; everything else in it is hidden.
#define TARSEL_API __attribute__((visibility("default")))
