#pragma once

#include "testhost/crossings/RecordFields.h"
#include "testhost/recordings/Contents.h"

#include <span>
#include <string_view>

// What of a recorded answer is put in place of the stand-in's own, because it is not to be judged.

/// Addresses in the record that neither host touched, as they were recorded: `asked` is the record
/// that the stand-in was sent.
void AdoptUntouched(const CrossingContents& sent, const CrossingContents& answered,
                    std::span<const unsigned char> asked, CrossingContents& here);
/// What the stand-in itself says nobody may rely on: some bits of numbers.
void AdoptRubbish(std::string_view service, Recording::Way way, const CrossingContents& recorded,
                  CrossingContents& here);
/// What these fields of the record hold, with all that they lead to. False, and nothing has
/// changed, when it is not of the same form: null here and not there, or a value of another type.
bool AdoptFields(RecordField::Set fields, Recording::Way way, const CrossingContents& recorded,
                 const AddressBook& book, CrossingContents& here);
