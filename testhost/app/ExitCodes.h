#pragma once

/// What the command answers to whoever runs it.
namespace ExitCode {
inline constexpr int allHeld = 0;
inline constexpr int somethingFailed = 1;
inline constexpr int wrongUse = 2;
} // namespace ExitCode
