#pragma once

#include "data/ValueBlock.h"
#include "host/HostCall.h"
#include "ui/DialogOperations.h"

class FourDDialog;

/// Values that go with a dialog operation, those that its row in the table lists, in and out.
struct DialogValues {
    FourDDialog* dialog = nullptr;
    const char* name = nullptr;
    double real = 0;
    DateBlock date = {};
    long number = 0;
    const unsigned char* string = nullptr;
    const void* address = nullptr; ///< also a classic text's handle, or the filter
    FDStringBlock text = {};       ///< an engine call's text
    long param2 = 0;
    long param3 = 0;
    long param4 = 0;
    unsigned char flag1 = 0;
    short table = 0;
    short field = 0;
    OSErr error = 0;
    // Buffers of 256 bytes for what comes out; null when it is not wanted.
    char* nameResult = nullptr;
    unsigned char* stringResult = nullptr;
};

/// The host call of a dialog operation: the record is classic or engine as its row says.
class DialogCall {
  public:
    explicit DialogCall(const DialogOperation& itsOperation);
    bool IsEngine() { return call.EngineOnly() != nullptr; }
    /// Puts those of the values into the record that the set names.
    void Place(DialogField::Set fields, const DialogValues& values);
    void Send() { call.Send(); }
    /// What the record holds of what the operation answers, in place of what the values held.
    void Collect(DialogValues* values);
    /// Goes on with another operation of the same kind, in the record as the host left it.
    void GoOnWith(const DialogOperation& next);

  private:
    void PlaceName(const char* name);
    void PlaceString(const unsigned char* string);
    void PlaceReal(double real);
    void CollectName(char* name);
    void CollectString(unsigned char* string);
    double CollectReal();

    const DialogOperation* operation;
    HostCall call;
};

/// Performs an operation: places, sends and collects what its row lists.
DialogValues Perform(const DialogOperation& operation, DialogValues values);
