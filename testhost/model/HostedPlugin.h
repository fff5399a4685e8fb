#pragma once

#include <string>

class Host;

/// A copy of a plug-in, as the model sees it.
class HostedPlugin {
  public:
    HostedPlugin(const HostedPlugin&) = delete;
    HostedPlugin& operator=(const HostedPlugin&) = delete;

    virtual bool IsStarted() const = 0;
    /// Calls an entry point with any four words; `what` names the call in the log.
    virtual void Enter(long selector, void* params, void* data, void* result, std::string what) = 0;

    Host& host;

  protected:
    explicit HostedPlugin(Host& itsHost) : host(itsHost) {}
    ~HostedPlugin() = default;
};
