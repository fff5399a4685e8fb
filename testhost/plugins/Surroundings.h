#pragma once

#include <set>
#include <string>
#include <vector>

/// What is in this process besides a plug-in.
class Surroundings {
  public:
    /// What there is now.
    static Surroundings Now();

    /// Libraries that were loaded since, as sentences; Windows' own are left out, which may load
    /// one another as they please.
    std::vector<std::string> LibrariesSince() const;
    /// Threads that were started since, and have not ended within a moment; those that Windows
    /// starts for itself are left out.
    std::vector<std::string> ThreadsSince() const;

  private:
    std::set<std::wstring> libraries; ///< whole paths
    std::set<unsigned long> threads;
};

/// Whether a module (HMODULE) is Windows' own. The runtime libraries of languages are not: they run
/// what a plug-in gave them. Nor is none.
bool IsOfWindows(void* module);

/// How many kernel handles this process has, semaphores not counted: the runtime libraries of some
/// compilers leave one behind with each unloading.
unsigned long CountHandles();
