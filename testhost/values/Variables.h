#pragma once

#include "host/boundary/Values.h"
#include "testhost/values/Scalars.h"

#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

struct HostVariable {
    std::string name;     ///< as it was first written, without the interprocess mark
    ValueBlock value;     ///< in the host's layout; what it holds belongs to the host
    TypedValue shape;     ///< what a pointer leads to, when it was set as a TypedValue
    std::string reported; ///< what was wrong with the value when it was last looked at
};

/// Variables that a plug-in got or wrote within one call into it, by process and name.
using TouchedVariables = std::set<std::pair<long, std::string>>;

/// The host's variables: those of each process, and those that all processes share (interprocess).
///
/// Names are of 1 to 255 characters of the Macintosh set; their case does not matter, their marks
/// do. A name that begins with the interprocess mark ("<>", or the character 0xD7) and goes on
/// behind it means an interprocess variable, whatever process is asked.
///
/// A value lies in the host's own layout. Its texts, BLOBs, arrays and pointers are toolbox
/// handles, or from 11.0 on the host's, as they were given; once a variable holds one of the
/// host's, toolbox calls, too, may work on it, since nobody who reads the variable can know whose
/// it is. Unicode texts, and from 11.0 on pictures, are the host's. A text is of type 2 on every
/// host, also from 11.0 on; type 33 is a text that was made as one. Setting a variable gives it the
/// type of the new value; nothing is converted.
class HostVariables {
  public:
    /// In place of a process: the interprocess variables.
    static constexpr long interprocess = 0;

    /// `valueLayout` is that of a compiled database; without pictures its host has no engine.
    explicit HostVariables(const ValueLayout& valueLayout) : layout(valueLayout) {}
    ~HostVariables() { Clear(); }
    /// Has values lie otherwise from now on; false when some lie there already.
    bool SetLayout(const ValueLayout& valueLayout);
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
    /// simply gone. What it disposed of without setting the variable anew is a problem.
    void Adopt(long process, std::string_view name, const ValueBlock& value);
    void Remove(long process, std::string_view name);
    /// Removes the variables of a process; all variables, and what was lent.
    void RemoveProcess(long process);
    void Clear();

    /// Keeps what a value holds that a plug-in may only look at: it is the host's, and goes with
    /// the variables, unless one of them, or whoever else takes it over, has it by then.
    void Lend(const ValueBlock& value);
    /// These are no longer lent, as far as they were.
    void TakeBack(const BlockParts& parts);

    static bool IsName(std::string_view name);
    /// The variables of a process, oldest first.
    const std::list<HostVariable>& Of(long process) { return variables[process]; }
    /// All variables away from their storage, by process; and back. An array's current element and
    /// all but the first representation of a picture are not kept.
    using Values = std::map<long, std::vector<std::pair<std::string, TypedValue>>>;
    Values ReadAll();
    void SetAll(const Values& values);

    /// What is wrong with a value that a plug-in hands over for this variable, as what a sentence
    /// says that it holds: a type that no value has, or handles that cannot be taken over. Nothing
    /// when all is well. A date or boolean that is none can be kept: TakeFaults tells of it.
    std::optional<std::string> Fault(long process, std::string_view name, const ValueBlock& value);
    /// A variable, but that one, that holds one of these parts; null when none does.
    const HostVariable* Holder(const BlockParts& parts, const HostVariable* but = nullptr) const;

    /// Notes that a plug-in gets or writes a variable, whose handles it has from then on.
    void Touch(long process, std::string_view name);
    /// Sentences about what is wrong with these variables, and what was lent, now that a call into
    /// a plug-in is over. What was said of a variable is not said again until it changes.
    std::vector<std::string> TakeFaults(const TouchedVariables& names);
    /// The same of all variables.
    std::vector<std::string> TakeFaults();

    ValueLayout layout;                  ///< how values lie in the variables
    long redraws = 0;                    ///< how often a plug-in had variables redrawn
    TouchedVariables* touched = nullptr; ///< in the call into a plug-in under way; null outside

  private:
    HostVariable* FindVariable(long process, std::string_view name);
    void Release(const HostVariable& variable, const BlockParts& kept);
    void DropDisposed(HostVariable& variable) const;

    // Names are one when SameName of the source says so; the hash looks at less than that.
    struct NameHash {
        size_t operator()(std::string_view name) const;
    };
    struct NameEqual {
        bool operator()(std::string_view a, std::string_view b) const;
    };
    using Places = std::unordered_map<std::string_view, std::list<HostVariable>::iterator, NameHash,
                                      NameEqual>;

    std::map<long, std::list<HostVariable>> variables; ///< by process
    std::map<long, Places> places; ///< by process; the names are the variables' own
    BlockParts lent;
};
