// Random sequences of tree operations keep the tree consistent: every child
// names its parent, no node is held twice, and nothing leaks or crashes.
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "context/ContextTestSupport.h"

namespace {

std::string RandomFramesPage(std::mt19937& rng, int names) {
    std::string html = "<frameset rows=*>";
    const int frames = static_cast<int>(rng() % 6);
    for (int i = 0; i < frames; ++i) {
        html += "<frame src=p" + std::to_string(rng() % names) + ".html>";
        if (rng() % 3 == 0) {
            html += "<img src=i" + std::to_string(rng() % names) + ".gif>";
        }
    }
    return html + "</frameset>";
}

CURLParser RandomUrl(std::mt19937& rng, int names) {
    const bool image = rng() % 3 == 0;
    std::string url = "http://r.example/" + std::string(image ? "i" : "p") +
                      std::to_string(rng() % names) + (image ? ".gif" : ".html");
    return CURLParser(url.c_str());
}

void CheckConsistent(CContextTree* root) {
    std::set<CContextTree*> seen;
    CContextTreeIterator it(root);
    while (CContextTree* node = it.GetNext()) {
        ASSERT_TRUE(seen.insert(node).second) << "node held twice";
        const auto& children = node->GetChildrenArray();
        for (std::size_t i = 0; i < children.size(); ++i) {
            if (children[i] != nullptr) {
                ASSERT_EQ(children[i]->GetParent(), node);
                ASSERT_EQ(children[i]->GetLevel(), node->GetLevel() + 1);
            }
        }
    }
}

}  // namespace

TEST(ContextTreeRandom, OperationSequencesKeepTheTreeConsistent) {
    constexpr int kNames = 4;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        std::mt19937 rng(seed);
        CContextTree root;
        root.SetUrl(CURLParser("http://r.example/p0.html"));
        root.SetTree(CContextPage::Scan(RandomFramesPage(rng, kNames)));
        root.UpdateRelFrameId("");
        for (int step = 0; step < 200; ++step) {
            std::vector<CContextTree*> nodes;
            CContextTreeIterator it(&root);
            while (CContextTree* node = it.GetNext()) {
                nodes.push_back(node);
            }
            CContextTree* target = nodes[rng() % nodes.size()];
            switch (rng() % 6) {
                case 0:
                case 1: {
                    auto* child = new CContextTree();
                    CURLParser url = RandomUrl(rng, kNames);
                    child->SetUrl(url);
                    if (rng() % 2 == 0) {
                        child->SetTree(CContextPage::Scan(RandomFramesPage(rng, kNames)));
                    }
                    if (!target->AddChild(child, url, rng() % 2 == 0)) {
                        delete child;
                    }
                    break;
                }
                case 2: {
                    CContextTreeChildIterator children(target);
                    if (CContextTree* old = children.GetNext()) {
                        auto* replacement = new CContextTree();
                        ASSERT_TRUE(target->ReplaceChild(old, replacement));
                        delete old;
                    }
                    break;
                }
                case 3:
                    if (rng() % 4 == 0) {
                        target->PurgeChildren();
                    }
                    break;
                case 4:
                    if (target != &root && rng() % 4 == 0) {
                        target->SetTree(CContextPage::Scan(RandomFramesPage(rng, kNames)));
                    }
                    break;
                default:
                    target->UpdateRelFrameId(rng() % 2 ? "1" : "");
                    target->GetHierarchicalName();
                    target->GetTopContextTree();
                    break;
            }
            CheckConsistent(&root);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}
