// The context tree: a document with a frame and an image. Children take the
// slots of the page's links, get levels and relative frame ids, and each node
// gets a snapshot file name; the tree owns its children.
#include <webstep/context/Context.h>
#include <webstep/context/ContextPage.h>
#include <webstep/context/ContextTree.h>
#include <webstep/url/URLParser.h>

#include <cstdio>

int main() {
    const char page[] =
        "<html><frameset cols=\"50%,50%\">"
        "<frame src=\"menu.html\"><frame src=\"main.html\">"
        "</frameset></html>";

    auto* top = new CContextTree();
    top->SetUrl(CURLParser("http://example.org/index.html"));
    top->SetTree(CContextPage::Scan(MString(page)));  // the node owns the page

    CContext context;
    context.SetContextTree(top);

    // The second frame: it takes the slot of the link that resolves to its URL.
    auto* frame = new CContextTree();
    CURLParser frameUrl("http://example.org/main.html");
    frame->SetUrl(frameUrl);
    if (!top->AddChild(frame, frameUrl, false)) {
        delete frame;  // not placed: still ours
        return 1;
    }
    // A URL no link of the page names finds no slot.
    auto* stray = new CContextTree();
    CURLParser strayUrl("http://example.org/elsewhere.html");
    bool strayPlaced = top->AddChild(stray, strayUrl, false);
    if (!strayPlaced)
        delete stray;

    top->UpdateRelFrameId(nullptr);
    CContextTreeIterator walk(top);
    for (CContextTree* node = walk.GetNext(); node; node = walk.GetNext()) {
        MString name =
            node->ComputeSnapshotFileName("snapshots/", "text/html", "t1", node->GetLevel() > 0);
        std::printf("level %u ordinal %u id %s url %s snapshot %s\n", node->GetLevel(),
                    node->GetOrdinal(), node->GetRelFrameId().c_str(),
                    node->GetUrl().GetFullURL().c_str(), name.c_str());
    }
    std::printf("frameset page: %s\n", top->IsFrame() ? "yes" : "no");

    // Callers that share a tree between threads take its node lock.
    bool locked = context.LockTree();
    if (locked)
        context.UnlockTree();

    bool ok = frame->GetParent() == top && frame->GetLevel() == 1 && !strayPlaced && locked &&
              top->IsFrame();
    delete context.DetachContextTree();  // deletes the children too
    return ok ? 0 : 1;
}
