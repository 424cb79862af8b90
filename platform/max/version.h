#pragma once

/// The release that the library is built for: release number, API number and SDK revision of 3ds Max 9.
constexpr unsigned int VERSION_3DSMAX = 9000U << 16 | 21U << 8 | 0U;
