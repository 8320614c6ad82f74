#pragma once

/// Marks what liblumenta offers beside its effects; exported only when lumenta.map names it too. The plug-in
/// carries Proc/Algorithms and Proc/Effects/Lumenta: this is the lower of the two.
#define LUMENTA_API __attribute__((visibility("default")))
