#pragma once

#include "host/boundary/Values.h"
#include "testhost/values/Scalars.h"

#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>

struct HostVariable {
    std::string name; ///< as it was first written, without the interprocess mark
    ValueBlock value; ///< in the host's layout; what it holds belongs to the host
    TypedValue shape; ///< what a pointer leads to, when it was set as a TypedValue
};

/// The host's variables: those of each process, and those that all processes share (interprocess).
///
/// Names are of 1 to 255 characters of the Macintosh set; their case does not matter, their marks
/// do. A name that begins with the interprocess mark ("<>", or the character 0xD7) and goes on
/// behind it means an interprocess variable, whatever process is asked.
///
/// A value lies in the host's own layout. Its texts, BLOBs, arrays and pointers are toolbox
/// handles; Unicode texts, and from 11.0 on pictures, are the host's. A text is of type 2 on every
/// host, also from 11.0 on; type 33 is a text that was made as one. Setting a variable gives it the
/// type of the new value; nothing is converted.
class HostVariables {
  public:
    /// In place of a process: the interprocess variables.
    static constexpr long interprocess = 0;

    /// `valueLayout` is that of a compiled database; without pictures its host has no engine.
    explicit HostVariables(const ValueLayout& valueLayout) : layout(valueLayout) {}
    ~HostVariables() { Clear(); }
    HostVariables(const HostVariables&) = delete;
    HostVariables& operator=(const HostVariables&) = delete;

    /// The variable's value; null when there is no such variable. It stays where it is until the
    /// variable is removed.
    ValueBlock* Find(long process, std::string_view name);
    /// The value away from its storage; of the kind Undefined when there is no such variable.
    TypedValue Read(long process, std::string_view name);
    /// Sets a variable and takes over what the block holds. What the former value held and the new
    /// one does not is released. A value of the type undefined removes the variable. Throws
    /// std::invalid_argument for a name that cannot be one.
    void Set(long process, std::string_view name, const ValueBlock& value);
    /// The same, from a value of any kind that lies in a value block.
    void Set(long process, std::string_view name, const TypedValue& value);
    /// Sets a variable to what a plug-in hands over. Plug-ins work on the variable's own handles in
    /// place: when one has disposed of the text, BLOB or storage that the variable had, that is
    /// simply gone. What it disposed of without setting the variable anew shows at the next use.
    void Adopt(long process, std::string_view name, const ValueBlock& value);
    /// The variable's value, an empty one of this kind unless it is of it already.
    ValueBlock& Declare(long process, std::string_view name, ValueKind kind);
    void Remove(long process, std::string_view name);
    /// Removes the variables of a process; all variables.
    void RemoveProcess(long process);
    void Clear();

    static bool IsName(std::string_view name);
    /// The variables of a process, oldest first.
    const std::list<HostVariable>& Of(long process) { return variables[process]; }
    /// What is wrong with a value that a plug-in hands over for this variable, as the end of a
    /// sentence: a type that no value has, a length beyond the bytes that are there, something that
    /// is not the host's to take over. Nothing when all is well.
    std::optional<std::string> Fault(long process, std::string_view name, const ValueBlock& value);

    const ValueLayout layout; ///< how values lie in the variables
    long redraws = 0;         ///< how often a plug-in had variables redrawn

  private:
    HostVariable* FindVariable(long process, std::string_view name);
    std::optional<std::string> PartsFault(const BlockParts& parts, const HostVariable* target);
    void Release(const HostVariable& variable, const BlockParts& kept);

    std::map<long, std::list<HostVariable>> variables; ///< by process
};
