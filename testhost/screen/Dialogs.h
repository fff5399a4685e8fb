#pragma once

#include "testhost/database/Tables.h"
#include "testhost/screen/Form.h"
#include "testhost/screen/Windows.h"
#include "testhost/values/Reporter.h"
#include "testhost/values/Variables.h"

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// An object of an open dialog: that of its form, and what plug-ins changed of it.
struct DialogObject : FormObject {
    std::optional<double> minimum; ///< of the numbers that may be entered
    std::optional<double> maximum;
    std::string filter; ///< kept and shown; what is entered is not held against it
    std::string format;
    bool threeState = false;
};

/// One row of a hierarchical list: a field, or with field 0 a table.
struct FieldRow {
    short table = 0;
    short field = 0;
    std::string text;
};

/// A hierarchical list of tables and fields.
struct FieldList {
    std::vector<FieldRow> rows;
    long chosen = 0; ///< row from 1; 0: none
};

/// An object as it stands, with the value of its variable.
struct ObjectState {
    DialogObject object;
    TypedValue value;              ///< undefined without a variable
    std::vector<std::string> rows; ///< of a list
    long chosen = 0;               ///< its row from 1; 0: none

    /// `field "customer" = string "Baker", disabled`
    std::string Describe() const;
};

enum class DialogOutcome { Open, Validated, Cancelled };

/// A dialog as it stands.
struct DialogState {
    std::string form;
    std::string title;
    short page = 1;
    short pages = 1;
    DialogOutcome outcome = DialogOutcome::Open;
    std::vector<ObjectState> objects;

    /// The object of this name; null when there is none.
    const ObjectState* Find(std::string_view name) const;
};

/// What the user does in one turn of a dialog.
struct UserAction {
    enum class Kind { Type, Click, Choose, Check, Page, Drag, Validate, Cancel, Dying, Look };

    Kind kind = Kind::Cancel;
    std::string object = {};
    std::string text = {}; ///< what is typed; where something is dragged to
    long number = 0;       ///< a row, a page, the state of a check box
    /// The user only looks at the dialog, which takes no turn; of Dying: asks the process to end.
    std::function<void(const DialogState&)> look = {};
    std::string place = {}; ///< of the script that says so; empty elsewhere

    std::string Describe() const;
};

/// The last drag: two objects and their middles.
struct DialogDrag {
    std::string source;
    std::string target;
    Point sourcePoint{};
    Point targetPoint{};
};

/// What a turn answers.
struct DialogTurn {
    std::string object;
    bool done = false;
    bool cancelled = false;
};

/// What dialogs use of their host.
struct DialogHost {
    HostVariables& variables;
    WindowList& windows;
    const Database& database;
    Reporter report;
};

/// Is sent the events of an area, with its object's rectangle; the dialog's window is current port.
using AreaHandler = std::function<void(Rect rect, EventRecord& event)>;

/// A dialog, or the dialog context that it begins as. Its variables are variables of the host, kept
/// under a number of its own in place of a process.
///
/// The variable of a form's object has the type that the form says; values of other types are
/// converted, or refused. Any other variable takes the type of what is set. The whole number of an
/// array is that of its chosen row.
class Dialog {
  public:
    Dialog(const DialogHost& dialogHost, long number);
    ~Dialog();
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    bool IsOpen() const { return window != nullptr; }

    // --- Variables ------------------------------------------------------------------------

    /// In place of a process in the host's variables.
    long VariableContext() const { return context; }
    ValueBlock* Find(const std::string& name);
    /// A variable's value as one of this kind; an empty one when there is none or it is of a kind
    /// that cannot be converted.
    TypedValue Read(const std::string& name, ValueKind kind);
    /// False when the variable cannot have the value.
    bool Write(const std::string& name, const TypedValue& value);

    // --- Arrays, in DialogArrays.cpp -------------------------------------------------------

    bool NewArray(const std::string& name, ValueKind kind);
    /// The array and its kind; null when there is none.
    ArrayBlock* FindArray(const std::string& name, ValueKind& kind);
    /// Number of the last element; -1 when there is no such array.
    long ArraySize(const std::string& name);
    /// Element `index`, from 0; nothing when there is none.
    std::optional<TypedValue> Element(const std::string& name, long index);
    /// Sets an element; the array grows as needed. A string or text goes into either kind of array.
    bool SetElement(const std::string& name, long index, const TypedValue& value);
    void DeleteElements(const std::string& name, long from, long count);
    /// Makes a text array.
    bool LoadTexts(const std::string& name, const std::vector<std::string>& texts);
    /// Makes a hierarchical list in the object of this name: of the fields of a table, of all
    /// tables with theirs for table 0. `mask` is that of FieldAllowed.
    void NewFieldList(const std::string& name, short table, long mask);
    void ClearFieldList(const std::string& name);

    // --- Objects --------------------------------------------------------------------------

    /// Runs for each object of this name, of this variable, of either; answers whether there is
    /// one.
    enum class By { Object, Variable, Either };
    bool ForEach(const std::string& name, By by, const std::function<void(DialogObject&)>& act);
    DialogObject* FindObject(const std::string& name);
    /// The hierarchical list in the object of this name; null when there is none.
    FieldList* FindFieldList(const std::string& name);
    DialogState State();

    std::string form;
    std::string title;
    short width = 0;
    short height = 0;
    short page = 1;
    short pages = 1;
    std::vector<DialogObject> objects;
    std::map<std::string, FieldList> fieldLists;          ///< by the name of their object
    std::list<std::pair<std::string, AreaHandler>> areas; ///< of plug-ins, by their object
    GrafPort* window = nullptr; ///< record in the host's list; null: a context only
    bool wasToOpen = false;     ///< of a context: nobody need close it when no dialog came of it
    void* userData = nullptr;
    long process = 0; ///< in which it was opened
    long former = 0;  ///< the dialog whose variables were current before it, or 0
    std::string lastObject;
    std::optional<DialogDrag> drag;
    bool inTurn = false;        ///< the user is at it, and plug-in code may be called back
    long updates = 0;           ///< how many updates of variables have begun and not ended
    long failedUpdateCalls = 0; ///< calls that begin or end one and were made to fail
    DialogOutcome ended = DialogOutcome::Open; ///< how the plug-in ended it
    DialogOutcome outcome = DialogOutcome::Open;
    DialogState shown; ///< as the transcript last told it

  private:
    unsigned char DeclaredType(const std::string& name) const;

    const DialogHost& host;
    long context;
};

/// Whether a mask lets the fields of a type through: bit N stands for the type of number N, bit 0
/// for alphas, bit 3 for pictures. A mask of 0 lets all through.
bool FieldAllowed(const DatabaseField& field, long mask);
/// The tables that have such a field, and the fields of a table that are.
std::vector<short> AllowedTables(const Database& database, long mask);
std::vector<short> AllowedFields(const Database& database, short table, long mask);

/// The dialogs of a host, and what the user does in them.
class Dialogs {
  public:
    /// The event's filter procedure of a plug-in: called before an action, with the object or null.
    using Filter = std::function<void(const EventRecord& event, const DialogObject* object)>;

    explicit Dialogs(DialogHost dialogsHost);
    ~Dialogs();
    Dialogs(const Dialogs&) = delete;
    Dialogs& operator=(const Dialogs&) = delete;

    /// Begins a dialog context; its reference is never 0 and never used twice.
    long NewContext();
    bool contextRefused = false; ///< the last context asked for was not made
    /// Opens a dialog in a context and a process, from the bytes of its form. Its reference, which
    /// takes the place of the context's; 0 when the form is refused, and then the context is as it
    /// was.
    long Open(long reference, long process, const std::string& form, const std::string& title,
              std::string_view bytes);
    /// Closes a dialog, or a context. The dialog's areas get their last event.
    void Close(long reference);
    /// The dialog or context of this reference; null when there is none.
    Dialog* Find(long reference);
    /// The dialog of this window, as a reference; 0 when there is none.
    long OfWindow(const void* window) const;

    /// Sends an event to the area in an object of a dialog; false when there is none. With the last
    /// event, 17, the host forgets the area.
    bool SendToArea(long reference, const std::string& name, EventRecord& event);

    /// Plays one turn: takes the user's next action, has the filter see its events, and does it.
    /// Without an action the user cancels. Actions that cannot be done are told to onFailure and
    /// dropped.
    DialogTurn Play(Dialog& dialog, const Filter& filter);

    /// In place of a process: whose variables names mean in a process, those of the dialog that was
    /// entered last, or the process's own.
    long VariablesOf(long process) const;
    /// Makes a dialog's variables (0: the process's own) the current ones of a process; answers the
    /// reference of the dialog whose variables were, or 0.
    long EnterContext(long process, long reference);

    /// Reports dialogs that are still open and contexts that were never used, and closes them.
    void ReportLeaks();

    std::deque<UserAction> actions;                 ///< what the user is going to do
    std::optional<DialogState> lastState;           ///< after the last turn, or when it was closed
    std::function<void(const std::string&)> onNote; ///< lines of a transcript; may be empty
    /// Told of each action that cannot be, and why; may be empty.
    std::function<void(const UserAction&, const std::string&)> onFailure;

  private:
    void Note(const std::string& text) const;
    void NoteChanges(Dialog& dialog);
    DialogTurn Act(Dialog& dialog, const UserAction& action, const Filter& filter);
    UserAction TakeAction(Dialog& dialog);

    DialogHost host;
    std::map<long, std::unique_ptr<Dialog>> dialogs; ///< by reference
    std::map<long, long> current;                    ///< by process: dialog whose variables count
    long references = 0;
    long missingActions = 0; ///< turns in a row for which there was no action
};
