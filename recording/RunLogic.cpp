#include "webstep/recording/RunLogic.h"

#include <filesystem>

#include "webstep/recording/IniDocument.h"

namespace {

// Nested blocks deeper than this are reported and cut: a file that names a
// group inside itself must not recurse without end.
constexpr unsigned kMaxDepth = 32;

std::vector<std::string> SplitOrder(const std::string& order) {
    std::vector<std::string> names;
    std::string current;
    auto flush = [&]() {
        std::size_t first = current.find_first_not_of(" \t");
        std::size_t last = current.find_last_not_of(" \t");
        if (first != std::string::npos)
            names.push_back(current.substr(first, last - first + 1));
        current.clear();
    };
    for (char c : order) {
        if (c == ',' || c == ';')
            flush();
        else
            current += c;
    }
    flush();
    return names;
}

RunLogicNode ActionNode(const std::string& name) {
    RunLogicNode node;
    node.kind = RunLogicNode::Kind::Action;
    node.name = name;
    return node;
}

RunLogicNode::Mode ReadMode(const CIniDocument::Section& section) {
    std::string mode = section.Get("RunLogicRunMode", "Sequential");
    return CIniDocument::NamesEqual(mode, "Random") ? RunLogicNode::Mode::Random
                                                    : RunLogicNode::Mode::Sequential;
}

void ReadGroup(const CIniDocument& ini, const CIniDocument::Section& section,
               const std::string& path, const CFolderDescription& description, unsigned depth,
               const std::string& file, FolderMessages& messages, RunLogicNode& group) {
    group.kind = RunLogicNode::Kind::Group;
    group.mode = ReadMode(section);
    long long iterations = section.GetInt("RunLogicNumOfIterations", 1);
    group.iterations = iterations < 1 ? 1u : static_cast<unsigned>(iterations);
    for (const std::string& childName : SplitOrder(section.Get("RunLogicActionOrder", ""))) {
        const CIniDocument::Section* childSection = ini.FindSection(path + ":" + childName);
        RunLogicNode child = ActionNode(childName);
        if (childSection != nullptr) {
            child.name = childSection->Get("Name", childName);
            child.weight = childSection->GetNumber("RunLogicActionWeight", 0);
            if (child.weight < 0)
                child.weight = 0;
            std::string kind = childSection->Get("RunLogicObjectKind", "Action");
            if (CIniDocument::NamesEqual(kind, "Group")) {
                if (depth >= kMaxDepth) {
                    AddFolderWarning(messages, file, childSection->line,
                                     "blocks nested deeper than " + std::to_string(kMaxDepth) +
                                         " levels are left out");
                    continue;
                }
                ReadGroup(ini, *childSection, path + ":" + childName, description, depth + 1, file,
                          messages, child);
            }
        }
        if (child.kind == RunLogicNode::Kind::Action &&
            description.FindAction(child.name) == nullptr && !description.Actions().empty()) {
            AddFolderWarning(
                messages, file, childSection ? childSection->line : section.line,
                "the action \"" + child.name + "\" is not one of the folder description's actions");
        }
        group.children.push_back(std::move(child));
    }
}

}  // namespace

void CRunLogic::UseDefault(const CFolderDescription& description) {
    m_init = RunLogicNode{RunLogicNode::Kind::Group, "Init"};
    m_run = RunLogicNode{RunLogicNode::Kind::Group, "Run"};
    m_end = RunLogicNode{RunLogicNode::Kind::Group, "End"};
    m_iterations = 0;
    const auto& actions = description.Actions();
    if (actions.empty())
        return;
    m_init.children.push_back(ActionNode(actions.front().name));
    for (std::size_t i = 1; i + 1 < actions.size(); ++i)
        m_run.children.push_back(ActionNode(actions[i].name));
    if (actions.size() > 1)
        m_end.children.push_back(ActionNode(actions.back().name));
}

bool CRunLogic::Read(const std::string& path, const CFolderDescription& description,
                     FolderMessages& messages) {
    UseDefault(description);
    CIniDocument ini;
    if (!ini.ReadFile(path, messages))
        return false;
    const std::string file = std::filesystem::path(path).filename().string();
    struct Root {
        const char* section;
        RunLogicNode* node;
    };
    for (const Root& root : {Root{"RunLogicInitRoot", &m_init}, Root{"RunLogicRunRoot", &m_run},
                             Root{"RunLogicEndRoot", &m_end}}) {
        const CIniDocument::Section* section = ini.FindSection(root.section);
        if (section == nullptr) {
            AddFolderWarning(messages, file, 0,
                             std::string("no [") + root.section +
                                 "] section: the folder description's order is used for it");
            continue;
        }
        RunLogicNode group;
        group.name = root.section;
        ReadGroup(ini, *section, root.section, description, 1, file, messages, group);
        if (root.node == &m_run) {
            // The run group's count is the number of iterations of the user,
            // not a repetition inside one iteration.
            long long iterations = section->GetInt("RunLogicNumOfIterations", 0);
            m_iterations = iterations < 1 ? 0u : static_cast<unsigned>(iterations);
            group.iterations = 1;
        }
        *root.node = std::move(group);
    }
    return true;
}

void CRunLogic::Expand(const RunLogicNode& node, std::mt19937_64& random,
                       std::vector<std::string>& actions) {
    if (node.kind == RunLogicNode::Kind::Action) {
        actions.push_back(node.name);
        return;
    }
    for (unsigned pass = 0; pass < node.iterations; ++pass) {
        if (node.mode == RunLogicNode::Mode::Sequential) {
            for (const RunLogicNode& child : node.children)
                Expand(child, random, actions);
            continue;
        }
        if (node.children.empty())
            continue;
        double total = 0;
        for (const RunLogicNode& child : node.children)
            total += child.weight;
        std::size_t pick = 0;
        if (total <= 0) {
            pick = std::uniform_int_distribution<std::size_t>(0, node.children.size() - 1)(random);
        } else {
            double point = std::uniform_real_distribution<double>(0, total)(random);
            for (pick = 0; pick + 1 < node.children.size(); ++pick) {
                point -= node.children[pick].weight;
                if (point < 0)
                    break;
            }
        }
        Expand(node.children[pick], random, actions);
    }
}

void CRunLogic::ExpandAll(const RunLogicNode& node, std::vector<std::string>& actions) {
    if (node.kind == RunLogicNode::Kind::Action) {
        actions.push_back(node.name);
        return;
    }
    for (const RunLogicNode& child : node.children)
        ExpandAll(child, actions);
}
