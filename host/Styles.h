#pragma once

#include "host/boundary/Styles.h"

#include <span>

/// The entry for an interface kind (FourD::GetPlatformInterface) among those of a style; a kind
/// that the style has no entry for counts as 2.
FourDPlatformStyle EntryForPlatform(std::span<const FourDPlatformStyle> entries, long kind);
