#pragma once
// The parameters of one virtual user: a browser context that resolves the
// references of a recorded script folder ("{CardNumber}") with the values the
// folder's parameter set gives this user, iteration by iteration.
//
// Inputs: the shared parameter set, the user number (1-based), a random seed
// and the folder's parameter braces; BeginIteration(i) says which iteration
// (1-based) runs. Before the first BeginIteration the user counts as being in
// iteration 1, so values drawn in the init action are iteration 1's values.
//
// When a new value is due (GenerateNewVal):
//   Once            at the first reference; kept for the user's whole life;
//   EachIteration   at the first reference of each iteration;
//   EachOccurrence  at every reference.
// The n-th value (n = 0, 1, ...) is: for Once 0; for EachIteration the
// iteration number less 1 (so iterations that do not use a parameter still
// count); for EachOccurrence the number of values drawn before.
//
// Which row a table parameter takes for its n-th value (R rows, S = StartRow):
//   Sequential      row S-1+n (0-based): every user walks the same rows from
//                   StartRow, so user 3 sees row S+1 in iteration 2 with
//                   EachIteration. Past the last row the out-of-values policy
//                   applies: ContinueCyclic goes on from the first row,
//                   ContinueWithLast keeps the last row, AbortVuser stops.
//   Random          a row drawn from the user's generator for that parameter
//                   (seeded by the seed, the user number and the parameter's
//                   name, so it is repeatable and independent of the other
//                   parameters).
//   Unique          row first+n of the user's block (see CParameterSet). When
//                   the block is used up: ContinueCyclic starts the block
//                   again, ContinueWithLast keeps its last row, AbortVuser
//                   stops. A user whose block lies beyond the table has no
//                   rows of its own: ContinueCyclic then takes row
//                   ((u-1)*B+n) mod R (shared with other users), and
//                   ContinueWithLast the table's last row.
//   Same line as X  the row X holds now (X draws a row first if it has none
//                   due); its own update rule is not used.
// A user that must stop (AbortVuser) is reported by Aborted() and a message;
// from then on Parametrize returns false.
//
// Other types: Time is the clock plus Offset printed with Format (the clock
// can be replaced for tests), Random a number MinValue..MaxValue from the
// user's generator, Unique the user's numbers in order (the out-of-values
// policy applies past BlockSize of them), CurrentIteration and Userid the
// numbers printed with Format, Custom its table's value or OriginalValue,
// Output nothing until the script saves a value. A saved value (SaveParameter,
// AssignToParameter) overrides a definition of the same name from then on.
//
// A reference whose name nothing defines (or whose parameter has no value:
// unknown type, missing table or column, Output not saved yet) stays in the
// text as written. Undefined names are listed once each in
// UnknownReferences(); a brace pair around text that cannot be a name (JSON
// such as {"a":1}, blanks) is left alone without being listed.
//
// One context belongs to one thread; the set it reads may be shared.
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "webstep/context/Context.h"
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/ParameterSet.h"

/// The parameters of one virtual user, resolved per iteration from a shared
/// CParameterSet: implements CContext's Parametrize and AssignToParameter.
/// The set must outlive the context.
class WEBSTEP_API CParameterContext : public CContext {
public:
    /// The (name, value) pairs a substitution used.
    using UsedValues = std::vector<std::pair<MString, MString>>;
    /// Seconds since 1970 (UTC): the clock of Time parameters.
    using Clock = std::function<std::time_t()>;

    /// user is 1-based (0 is taken as 1). Empty braces mean "{" and "}".
    CParameterContext(const CParameterSet& set, unsigned user, std::uint64_t seed,
                      const MString& leftBrace = "{", const MString& rightBrace = "}");
    CParameterContext(const CParameterContext&) = delete;
    CParameterContext& operator=(const CParameterContext&) = delete;
    ~CParameterContext() override;

    /// Starts iteration (1-based): EachIteration parameters take new values
    /// at their next reference.
    void BeginIteration(unsigned iteration);
    unsigned Iteration() const { return m_iteration; }
    unsigned User() const { return m_user; }

    /// Replaces the clock of Time parameters; with utc the time is printed as
    /// UTC, otherwise in the local time zone.
    void SetClock(Clock clock, bool utc = false);

    /// isDataDriven: value is a parameter name, result becomes its current
    /// value (or the reference as written when it has none). Otherwise value
    /// is a text whose references are all substituted into result. False only
    /// when the user must stop.
    bool Parametrize(const MString& value, MString& result, bool isDataDriven) override;
    /// Saves value under name (as SaveParameter).
    bool AssignToParameter(const MString& name, const MString& value) override;

    /// text with every reference (name between the braces) replaced by its
    /// value; references without a value stay as written. When used is given,
    /// each (name, value) pair substituted is appended to it once.
    MString Substitute(const MString& text, UsedValues* used = nullptr);
    /// The value a reference to name gets now (drawing a new value when one
    /// is due, as a reference does); false when it has none.
    bool Evaluate(const MString& name, MString& value);

    /// Saved values: they override definitions of the same name.
    void SaveParameter(const MString& name, const MString& value);
    bool GetSavedParameter(const MString& name, MString& value) const;
    /// Forgets a saved value (a definition of the name applies again).
    bool RemoveParameter(const MString& name);

    /// Names referenced that nothing defines, once each, in order.
    const std::vector<MString>& UnknownReferences() const { return m_unknown; }
    /// True when a parameter ran out of values with the AbortVuser policy.
    bool Aborted() const { return m_aborted; }
    /// What happened that the caller should know (abort, shared blocks,
    /// unknown references), in order.
    const FolderMessages& Messages() const { return m_messages; }

private:
    struct State {
        bool hasValue = false;
        MString value;
        unsigned iteration = 0;  // the iteration the value was drawn in
        long long draws = 0;     // values drawn so far
        long long row = -1;      // table row of the value
        std::uint64_t random = 0;
        bool randomReady = false;
        bool claimed = false;  // a claim was made
        bool claimOk = false;  // and this context holds the block
        bool warned = false;
    };

    bool Resolve(const MString& name, MString& value, bool report, int depth);
    bool IsDue(const CParameterDefinition& definition, const State& state) const;
    long long DrawIndex(const CParameterDefinition& definition, const State& state) const;
    bool ChooseRow(const CParameterDefinition& definition, State& state, int depth);
    long long PolicyIndex(const CParameterDefinition& definition, State& state, long long n,
                          long long count, bool& ok);
    std::uint64_t NextRandom(const CParameterDefinition& definition, State& state);
    long long RandomBelow(const CParameterDefinition& definition, State& state,
                          std::uint64_t bound);
    void Abort(const CParameterDefinition& definition, const std::string& what);
    void NoteUnknown(const MString& name);
    void Claim(const CParameterDefinition& definition, State& state);

    const CParameterSet& m_set;
    unsigned m_user;
    std::uint64_t m_seed;
    MString m_left;
    MString m_right;
    unsigned m_iteration = 1;
    Clock m_clock;
    bool m_utc = false;
    std::map<MString, MString> m_saved;
    std::map<MString, State> m_states;
    std::vector<MString> m_unknown;
    std::set<MString> m_unknownSet;
    bool m_aborted = false;
    FolderMessages m_messages;
};
