#pragma once

/// Marks what liblumenta offers beside its effects; exported only when lumenta.map names it too.
#define LUMENTA_API __attribute__((visibility("default")))
