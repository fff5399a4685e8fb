#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"
#include "ui/FormResource.h"
#include "ui/FourDDialog.h"

#include <cstddef>

/// Called by the host for each event of a modal dialog: the dialog, the event, the Pascal name of
/// the object, and two bytes.
using SXDialogFilter = void(NIMBO_CDECL*)(void* dialog, EventRecord* event,
                                          unsigned char* objectName, unsigned char a,
                                          unsigned char b);

/// A modal dialog, built by the host from a form in the plug-in's resources and run inside the
/// calling process. Derive a class, override the hooks, then: construct, Open, EventLoop, destroy.
class SXDialog {
  public:
    /// Makes the host's dialog context and reads the form resource `formName` (at most 255
    /// characters). The host gets `windowType` and `windowOptions` as they are. With a `styleSet`
    /// above 0 the form's fonts are those of the set (see ui/FormResource.h), which is released
    /// again.
    SXDialog(const char* formName, short windowType, long windowOptions, short styleSet);
    /// The same form and `styleSet` with window type 1, window options 5: a `formName` as above.
    SXDialog(const char* formName, short styleSet);
    SXDialog(const SXDialog&) = delete;
    SXDialog& operator=(const SXDialog&) = delete;

    /// Does what Close does.
    virtual ~SXDialog();
    /// Closes the host's dialog, or its context, and with the last object that has the form
    /// releases it: a handle to it that is held elsewhere is no longer valid then. Harmless when
    /// repeated.
    virtual void Close();

    // Hooks; they do nothing here.
    /// After each turn of the loop: `objectName` is that of the object that the user acted on. May
    /// set `*done` and `*cancelled`.
    virtual void HandleItemHit(char* objectName, unsigned char* done, unsigned char* cancelled);
    /// For each `event` that the host shows the dialog's filter, in the object `objectName`; `a`
    /// and `b` are the host's.
    virtual void EventFilter(EventRecord* event, char* objectName, unsigned char a,
                             unsigned char b);
    /// @family Before the host's dialog is made, after it was, and when it ends by validation.
    virtual void PreLoadData();
    virtual void PostLoadData();
    virtual void UnloadData();

    /// Makes the host's dialog; false when the host refuses the form. `rect` may be null; a null
    /// title stands for the form's name. The second takes a Pascal string. `flag` is sent along.
    bool Open(Rect* rect, const char* title, unsigned char flag);
    bool Open(Rect* rect, const unsigned char* title, unsigned char flag);
    bool Open(Rect* rect, std::nullptr_t, unsigned char flag) {
        return Open(rect, static_cast<const unsigned char*>(nullptr), flag);
    }
    /// Runs the dialog until it is done; true when it was not cancelled. False at once without a
    /// dialog. A null filter stands for DefaultDialogFilter; hosts from 11.0 on get none.
    bool EventLoop(SXDialogFilter filter);

    /// The process that owns the dialog's window; 0 without one.
    long GetProcess() const;

    /// Calls `callback` for the form's atoms with `data`, see ScanFormAtoms.
    void ScanFO4DAtoms(FO4DAtomProc callback, void* data);
    /// @family For scans, with an atom's `type`, `data` and `length`; `dialog` is an SXDialog. The
    /// second looks the style set up for each atom. Both answer 0.
    static long ReadFLAGAtom(unsigned long type, char* data, long length, void* dialog);
    static long PatchFONTAtoms(unsigned long type, char* data, long length, void* dialog);
    /// Patches the form's fonts, with one look at the style set; nothing without a form or a set.
    void PatchFO4DFONTAtoms();

    /// Hands an `event` in the object `objectName` to the EventFilter of the `dialog`, with the
    /// host's `a` and `b`.
    static HOST_CALL void DefaultDialogFilter(void* dialog, EventRecord* event,
                                              unsigned char* objectName, unsigned char a,
                                              unsigned char b);
    /// The object of a host's `dialog`, which is its user data; null for null.
    static SXDialog* GetSXDialogFromContext(void* dialog);

  protected:
    Str255 formName;
    short windowType;
    long windowOptions;
    FourDDialog* dialog; ///< the context, from Open on the dialog; null after Close
    GrafPort* window = nullptr;
    long process = 0; ///< the one that was current at Open
    Handle formResource;
    short styleSet; ///< 0 or less: the form's fonts stay
    short formFlag1 = 0;
    short formFlag2 = 0;

  private:
    void CloseDialog();
    void ReleaseForm();

    SXDialog* nextObject; ///< all objects are chained, the last one first
    static SXDialog* lastObject;
};
