#pragma once

#include "platform/Types.h"

#include <list>
#include <memory>
#include <string>

class Host;

/// Areas of plug-ins in the objects of dialogs: what the host keeps for each, and whom it sends its
/// events.
class Areas {
  public:
    explicit Areas(Host& areasHost) : host(areasHost) {}

    /// An object has become an area: `handler` gets its events, with the address of `data`.
    void Install(long dialog, const std::string& object, void* handler, void* data);
    /// Sends an event to the area in an object, with the dialog's window as current port; false
    /// when there is none. With the last event, 17, the host forgets the area.
    bool Send(long dialog, const std::string& object, EventRecord& event);
    /// A dialog is about to close: its areas get their last event.
    void CloseDialog(long dialog);

  private:
    struct Area {
        long dialog;
        std::string object;
        void* handler;
        long data;
    };
    using List = std::list<std::shared_ptr<Area>>; // shared: one may go in the midst of its event

    List::iterator Find(long dialog, const std::string& object);

    Host& host;
    List areas;
};
