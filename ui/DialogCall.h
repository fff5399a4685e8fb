#pragma once

#include "host/Call.h"

class FourDDialog;

/// A host call for an operation on a dialog. What does not travel in a field of both records:
///
///                                     classic record          engine record
///     name of a variable or object    name *                  uniName
///     Pascal string                   valueText **            uniText
///     real                            value.real, 80 bits     value.real, a double
///     text                            handle                  string
///
/// *  zero-terminated, cut to 255 characters, not a Pascal string
/// ** cut to 141 characters
class DialogCall : public HostCall {
  public:
    /// The dialog, or dialog context, goes into param1; null for a new context.
    DialogCall(Selector operation, FourDDialog* dialog);
    /// The same for a variable or object.
    DialogCall(Selector operation, FourDDialog* dialog, const char* name,
               bool wantsEngine = gHost.HasEngine());

    void SetName(const char* name);
    void SetString(const unsigned char* string); ///< null sends none
    void SetReal(double real);

    /// Sends the call, and shows the fields as they were answered.
    const CallFields& Answer();
    FourDDialog* Dialog();    ///< in param1
    void GetName(char* name); ///< 256 bytes, here and below; null is left alone
    void GetString(unsigned char* string);
    double GetReal();
};
