#pragma once

/// Marks what libtarsel-media offers; everything else in it is hidden.
#define TARSEL_MEDIA_API __attribute__((visibility("default")))
