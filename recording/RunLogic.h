#pragma once
// The run logic of a recorded script folder (the "*.usp" file): which actions
// a virtual user runs once at its start (init), in each iteration (run) and
// once at its end, in what order, and how often the run group repeats.
#include <random>
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderDescription.h"
#include "webstep/recording/FolderMessage.h"

/// One node of the run logic: an action, or a group (block) of nodes run in
/// sequence or one of them picked at random by weight.
struct WEBSTEP_API RunLogicNode {
    enum class Kind { Action, Group };
    enum class Mode { Sequential, Random };

    Kind kind = Kind::Action;
    std::string name;
    /// The weight of this node in a random group (0 when none is given).
    double weight = 0;
    /// For groups: sequential or random, and how often one pass repeats it.
    Mode mode = Mode::Sequential;
    unsigned iterations = 1;
    std::vector<RunLogicNode> children;
};

/// The three groups of a run logic. Sections "[RunLogicInitRoot]",
/// "[RunLogicRunRoot]" and "[RunLogicEndRoot]" each list their children in
/// "RunLogicActionOrder"; a child "X" of the section "P" is described by the
/// section "[P:X]" ("Name", "RunLogicObjectKind" = "Action" or "Group",
/// "RunLogicActionWeight", and for a group its own order, mode and number of
/// iterations); a child without a section of its own is an action. Without a
/// file (or a group missing from it), the fallback of the folder description
/// holds: init is the first action, end the last, the run group the actions
/// between them in their order, one iteration.
class WEBSTEP_API CRunLogic {
public:
    /// The fallback run logic of a folder description.
    void UseDefault(const CFolderDescription& description);
    /// Reads the run-logic file; false (with a warning) when it cannot be
    /// read, and the fallback is used. Groups missing from the file fall back
    /// one by one; action names the description does not know are reported.
    bool Read(const std::string& path, const CFolderDescription& description,
              FolderMessages& messages);

    const RunLogicNode& Init() const { return m_init; }
    const RunLogicNode& Run() const { return m_run; }
    const RunLogicNode& End() const { return m_end; }
    /// How often the run group repeats ("RunLogicNumOfIterations" of the run
    /// group; 0 when the file does not say, so that the settings decide).
    unsigned Iterations() const { return m_iterations; }

    /// The actions one pass of a node runs, in order: groups in sequence
    /// repeat their children as often as they say, random groups run one child
    /// picked by weight (all alike when no weight is given).
    static void Expand(const RunLogicNode& node, std::mt19937_64& random,
                       std::vector<std::string>& actions);
    /// Every action under a node once, in file order (random groups list all
    /// their children): what an inspection of the folder walks through.
    static void ExpandAll(const RunLogicNode& node, std::vector<std::string>& actions);

private:
    RunLogicNode m_init, m_run, m_end;
    unsigned m_iterations = 0;
};
