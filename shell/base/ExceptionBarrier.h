#pragma once

/// Runs `body` and keeps everything it throws on this side: nothing thrown may cross into the
/// host. Every call from the host goes through here once; what a handler wrote before it threw
/// stands.
template <typename Body>
void KeepExceptionsInside(Body body) noexcept {
    try {
        body();
    } catch (...) { // the host has no way to be told
    }
}
