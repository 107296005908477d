#include "webstep/forms/Form.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "webstep/forms/FileField.h"
#include "webstep/forms/HiddenField.h"
#include "webstep/forms/SelectField.h"
#include "webstep/forms/TextAreaField.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLVParser.h"
#include "webstep/platform/Tick.h"

const char* const CForm::KeyAction = "action";
const char* const CForm::KeyName = "name";
const char* const CForm::KeyMethod = "method";
const char* const CForm::KeyTargetFrame = "targetframe";
const char* const CForm::KeyFrame = "frame";

namespace {
MString Text(const char* s) {
    return s != nullptr ? MString(s) : MString();
}
}  // namespace

CForm::CForm() = default;

CForm::CForm(CHTMLVParser* t, CHTMLForm* n, bool keepPage, const MString& frame) {
    if (keepPage) {
        tree = t;
        node = n;
    }
    hasSubmit = false;
    hasReset = false;
    Attach(n, frame);
}

CForm::CForm(const CForm& other) {
    CopyFrom(other);
}

CForm& CForm::operator=(const CForm& other) {
    if (this != &other) {
        Clear();
        CopyFrom(other);
    }
    return *this;
}

CForm::~CForm() {
    Clear();
}

void CForm::Clear() {
    for (CFormField* f : fields.GetList()) {
        delete f;
    }
    fields.GetList().clear();
    for (CRadioButtonGroup* g : radioGroups) {
        delete g;
    }
    radioGroups.clear();
    submitGroup.RemoveAll();
    submitGroup.SetMarked(false);
    attributes.PurgeData();
    hiddens.clear();
    actionAttr = methodAttr = nameAttr = unusedAttr = frameAttr = targetFrameAttr = nullptr;
}

void CForm::CopyFrom(const CForm& other) {
    for (const CRadioButtonGroup* g : other.radioGroups) {
        auto* copy = new CRadioButtonGroup(g->GetName());
        copy->SetMarked(g->IsMarked());
        radioGroups.push_back(copy);
    }
    submitGroup.SetMarked(other.submitGroup.IsMarked());
    for (const CFormField* f : other.fields.GetList()) {
        CFormField* c = f->Clone();
        if (auto* radio = dynamic_cast<CRadioField*>(c)) {
            CRadioButtonGroup* newGroup = nullptr;
            for (std::size_t i = 0; i < other.radioGroups.size(); ++i) {
                if (other.radioGroups[i] == radio->GetGroup()) {
                    newGroup = radioGroups[i];
                }
            }
            radio->SetGroup(newGroup);
            if (newGroup != nullptr) {
                newGroup->AddMember(radio);
            }
        } else if (auto* button = dynamic_cast<CSubmitField*>(c)) {
            button->SetGroup(&submitGroup);
            submitGroup.AddMember(button);
        }
        fields.GetList().push_back(c);
    }
    attributes = other.attributes;
    FindAttributePointers();
    hasSubmit = other.hasSubmit;
    hasReset = other.hasReset;
    tree = other.tree;
    node = other.node;
    encoding = other.encoding;
    hasMethodText = other.hasMethodText;
    methodText = other.methodText;
}

void CForm::FindAttributePointers() {
    actionAttr = methodAttr = nameAttr = unusedAttr = frameAttr = targetFrameAttr = nullptr;
    hiddens.clear();
    for (CHtmlAttribute* a : attributes.GetList()) {
        if (auto* h = dynamic_cast<CHiddenAttribute*>(a)) {
            hiddens.push_back(h);
            continue;
        }
        auto* s = dynamic_cast<CStringAttribute*>(a);
        if (s == nullptr) {
            continue;
        }
        const MString key = s->GetKey();
        CStringAttribute** slot = key == KeyAction        ? &actionAttr
                                  : key == KeyMethod      ? &methodAttr
                                  : key == KeyName        ? &nameAttr
                                  : key == KeyFrame       ? &frameAttr
                                  : key == KeyTargetFrame ? &targetFrameAttr
                                                          : nullptr;
        if (slot != nullptr && *slot == nullptr) {
            *slot = s;
        }
    }
}

void CForm::Attach(CHTMLForm* n, const MString& frame) {
    Clear();
    hasSubmit = false;
    hasReset = false;
    hasMethodText = false;
    methodText.clear();
    encoding = ENCTYPE_URLENCODED;
    if (n == nullptr) {
        return;
    }
    const char* enctype = n->attr("enctype");
    if (enctype != nullptr && std::strcmp(enctype, "multipart/form-data") == 0) {
        encoding = ENCTYPE_MULTIPART;
    }
    if (const char* m = n->attr("method")) {
        hasMethodText = true;
        methodText = m;
    }
    actionAttr = new CStringAttribute(KeyAction, Text(n->action()));
    attributes.AddAttribute(actionAttr);
    nameAttr = new CStringAttribute(KeyName, Text(n->name()));
    attributes.AddAttribute(nameAttr);
    methodAttr =
        new CStringAttribute(KeyMethod, n->method() == CHTMLForm::METHOD_GET ? "GET" : "POST");
    attributes.AddAttribute(methodAttr);
    targetFrameAttr = new CStringAttribute(KeyTargetFrame, Text(n->attr("target")));
    attributes.AddAttribute(targetFrameAttr);
    frameAttr = new CStringAttribute(KeyFrame, frame);
    attributes.AddAttribute(frameAttr);

    auto addField = [this](CFormField* f, CHTMLFormElement* e) {
        f->Attach(e);
        fields.GetList().push_back(f);
    };
    auto usable = [](const CHTMLFormElement* e) {
        const char* nm = e->name();
        return nm != nullptr && *nm != '\0' && e->attr("disabled") == nullptr;
    };
    for (int i = 0; i < n->nElements(); ++i) {
        CHTMLFormElement* e = n->element(i);
        if (e == nullptr) {
            continue;
        }
        const CHTMLFormElement::ElementType type = e->type();
        if (type == CHTMLFormElement::ELEMENT_IMAGE) {
            // An image button takes part even without a name or when disabled.
            auto* f = new CImageField(&submitGroup);
            submitGroup.AddMember(f);
            hasSubmit = true;
            addField(f, e);
            continue;
        }
        if (type == CHTMLFormElement::ELEMENT_RADIO) {
            // The page model gathers radios into groups; each value is a button.
            std::vector<CHTMLFormElement*> values;
            if (auto* group = dynamic_cast<CHTMLRadio*>(e)) {
                for (int v = 0; v < group->nValues(); ++v) {
                    values.push_back(group->value(v));
                }
            } else {
                values.push_back(e);
            }
            for (CHTMLFormElement* v : values) {
                if (v == nullptr || !usable(v)) {
                    continue;
                }
                const MString radioName = Text(v->name());
                CRadioButtonGroup* g = nullptr;
                for (CRadioButtonGroup* candidate : radioGroups) {
                    if (candidate->GetName() == radioName) {
                        g = candidate;
                        break;
                    }
                }
                if (g == nullptr) {
                    g = new CRadioButtonGroup(radioName);
                    radioGroups.push_back(g);
                }
                auto* f = new CRadioField(g);
                g->AddMember(f);
                addField(f, v);
            }
            continue;
        }
        if (!usable(e)) {
            continue;
        }
        switch (type) {
            case CHTMLFormElement::ELEMENT_TEXT:
                addField(new CTextField, e);
                break;
            case CHTMLFormElement::ELEMENT_PASSWORD:
                addField(new CPasswordField, e);
                break;
            case CHTMLFormElement::ELEMENT_CHECKBOX:
                addField(new CCheckboxField, e);
                break;
            case CHTMLFormElement::ELEMENT_SUBMIT: {
                auto* f = new CSubmitField(&submitGroup);
                submitGroup.AddMember(f);
                hasSubmit = true;
                addField(f, e);
                break;
            }
            case CHTMLFormElement::ELEMENT_RESET:
                hasReset = true;
                break;
            case CHTMLFormElement::ELEMENT_FILE:
                encoding = ENCTYPE_MULTIPART;
                addField(new CFileField, e);
                break;
            case CHTMLFormElement::ELEMENT_HIDDEN: {
                auto* h = new CHiddenAttribute(Text(e->name()), Text(e->value()));
                attributes.AddAttribute(h);
                hiddens.push_back(h);
                addField(new CHiddenField, e);
                break;
            }
            case CHTMLFormElement::ELEMENT_SELECT:
                addField(new CSelectField, e);
                break;
            case CHTMLFormElement::ELEMENT_NONE:
                if (e->tag() == HTML_TEXTAREA) {
                    addField(new CTextAreaField, e);
                }
                break;
            default:
                break;
        }
    }
}

MString CForm::GetName() const {
    return nameAttr != nullptr ? nameAttr->GetValue() : MString();
}

MString CForm::GetActionUrl() const {
    return actionAttr != nullptr ? actionAttr->GetValue() : MString();
}

bool CForm::UseGetMethod() const {
    return !hasMethodText || methodText == "GET";
}

bool CForm::MatchAttributes(const CHtmlAttributeSet& wanted) const {
    return attributes.Match(wanted);
}

void CForm::UnmarkRadioGroups() const {
    for (CRadioButtonGroup* g : radioGroups) {
        g->SetMarked(false);
    }
}

void CForm::UmarkAllFields() const {
    for (CFormField* f : fields.GetList()) {
        f->Unmark();
    }
    UnmarkRadioGroups();
}

void CForm::ClearAllFields() const {
    for (CFormField* f : fields.GetList()) {
        f->Unmark();
        f->MakeEmpty();
    }
    UnmarkRadioGroups();
}

bool CForm::_CheckAgainstDataSet(CDataSet* const set, bool doSet) const {
    UmarkAllFields();
    if (set == nullptr) {
        return true;
    }
    const std::list<CData*>& items = set->DataElements().GetList();
    for (auto it = items.begin(); it != items.end(); ++it) {
        const CData* item = *it;
        const auto next = std::next(it);
        bool placed = false;
        bool tookNext = false;
        for (CFormField* f : fields.GetList()) {
            if (f->MakesMatch(item)) {
                if (!doSet) {
                    // A list marks the option the item matched, which for a
                    // regular expression is not found by its text.
                    if (auto* list = dynamic_cast<CSelectField*>(f)) {
                        list->MarkItem(item);
                    } else {
                        f->Mark(item->GetValue());
                    }
                    placed = true;
                } else {
                    placed = f->SetValue(item);
                }
            } else if (auto* image = dynamic_cast<CImageField*>(f);
                       image != nullptr && next != items.end() && image->MakesMatch(item, *next)) {
                if (!doSet) {
                    image->Mark(MString());
                    placed = true;
                } else {
                    placed = image->SetValue(item->GetValue(), (*next)->GetValue());
                }
                tookNext = placed;
            }
            if (placed) {
                break;
            }
        }
        if (!placed) {
            return false;
        }
        if (tookNext) {
            it = next;
        }
    }
    return true;
}

bool CForm::_CheckAgainstRecordedDataSet(CDataSet* const set, bool doSet) const {
    if (doSet) {
        ClearAllFields();
    } else {
        UmarkAllFields();
    }
    if (set == nullptr) {
        return true;
    }
    const std::list<CData*>& items = set->DataElements().GetList();
    auto it = items.begin();
    for (CFormField* f : fields.GetList()) {
        for (;;) {
            if (it != items.end() && f->MakesMatch(*it)) {
                if (!doSet) {
                    if (auto* list = dynamic_cast<CSelectField*>(f)) {
                        list->MarkItem(*it);
                    } else {
                        f->Mark((*it)->GetValue());
                    }
                } else if (!f->SetValue(*it)) {
                    return false;
                }
                ++it;
                if (f->SingleValue()) {
                    break;
                }
                continue;
            }
            if (f->MustBeSubmitted()) {
                return false;
            }
            break;
        }
    }
    if (it == items.end()) {
        return true;
    }
    // Items after a chosen button are ignored on purpose.
    if (submitGroup.IsMarked()) {
        return true;
    }
    const CData* first = *it++;
    const CData* second = nullptr;
    if (it != items.end()) {
        second = *it++;
    }
    if (it != items.end()) {
        return false;
    }
    for (CSubmitField* b : submitGroup.GetMembers()) {
        auto* image = dynamic_cast<CImageField*>(b);
        if (second == nullptr && image == nullptr && b->MakesMatch(first)) {
            if (!doSet) {
                b->Mark(first->GetValue());
                return true;
            }
            return b->SetValue(first);
        }
        if (second != nullptr && image != nullptr && image->MakesMatch(first, second)) {
            if (!doSet) {
                image->Mark(first->GetValue());
                return true;
            }
            return image->SetValue(first->GetValue(), second->GetValue());
        }
    }
    return false;
}

void CForm::GetSubmitArgs(MString& body, MString& boundary) const {
    MString delimiter;
    if (encoding == ENCTYPE_MULTIPART) {
        const unsigned int complement = ~webstep::platform::GetTickCount();
        const unsigned int tick = webstep::platform::GetTickCount();
        char text[32];
        std::snprintf(text, sizeof text, "%u%u", tick, complement);
        boundary = text;
        delimiter = "--" + boundary;
    }
    body.clear();
    std::vector<std::string> strings;
    std::vector<std::string> imageStrings;
    for (const CFormField* f : fields.GetList()) {
        f->GetParamStrings(strings, encoding);
        if (strings.empty()) {
            continue;
        }
        if (dynamic_cast<const CImageField*>(f) != nullptr) {
            imageStrings.swap(strings);
            continue;
        }
        for (const std::string& s : strings) {
            if (encoding == ENCTYPE_MULTIPART) {
                body += delimiter;
                body += "\r\n";
            } else if (!body.empty()) {
                body += "&";
            }
            body += s;
        }
    }
    // Written last; with nothing before them the URL-encoded coordinates are
    // joined without "&" (kept as the original does).
    const bool wroteBefore = !body.empty();
    for (const std::string& s : imageStrings) {
        if (encoding == ENCTYPE_MULTIPART) {
            body += delimiter;
            body += "\r\n";
        } else if (wroteBefore) {
            body += "&";
        }
        body += s;
    }
    if (encoding == ENCTYPE_MULTIPART) {
        body += delimiter;
        body += "--\r\n";
    }
}

void CForm::GetDefaultArgs(MString& body, MString& boundary) {
    body.clear();
    for (CFormField* f : fields.GetList()) {
        f->RevertToDefault();
    }
    if (CSubmitField* first = submitGroup.GetFirst()) {
        first->Invoke();
    }
    GetSubmitArgs(body, boundary);
}

void CForm::GetDataSet(CDataSet& set) {
    set.DataElements().PurgeData();
    set.SetActionUrl(GetActionUrl());
    std::vector<std::pair<MString, MString>> pairs;
    std::vector<std::pair<MString, MString>> imagePairs;
    auto add = [&set](const CFormField* f, const std::pair<MString, MString>& p) {
        const bool file = f->GetDataType() == CData::DT_FILE;
        set.AddData(new CData(p.first, p.second, CData::RT_LITERAL, CData::RT_LITERAL,
                              f->GetDataType(), true, "", "", f->IsReadOnly(), "",
                              file ? p.second : MString(), ""));
    };
    const CImageField* clicked = nullptr;
    for (const CFormField* f : fields.GetList()) {
        f->GetValues(pairs);
        if (pairs.empty()) {
            continue;
        }
        if (auto* image = dynamic_cast<const CImageField*>(f)) {
            clicked = image;
            imagePairs.swap(pairs);
            continue;
        }
        for (const auto& p : pairs) {
            add(f, p);
        }
    }
    for (const auto& p : imagePairs) {
        add(clicked, p);
    }
}

MString CForm::MakeAnnotation(const char* previous, const char* text) {
    MString out = previous != nullptr ? previous : "";
    if (previous != nullptr) {
        out += "\r\n";
    }
    out += "<I><strong><font color=#AF0000>";
    out += text != nullptr ? text : "";
    out += "</font></strong></I>";
    return out;
}

void CForm::Annotate(const char* text) {
    if (tree == nullptr || node == nullptr || text == nullptr) {
        return;
    }
    CHTMLVParser* page = tree;
    const auto* previous = static_cast<const char*>(page->getData(node));
    const MString annotation = MakeAnnotation(previous, text);
    char* copy = static_cast<char*>(std::malloc(annotation.size() + 1));
    if (copy == nullptr) {
        return;
    }
    std::memcpy(copy, annotation.c_str(), annotation.size() + 1);
    page->setData(node, copy);
    // A page that does not keep annotations leaves the text to us.
    if (page->getData(node) != copy) {
        std::free(copy);
    }
}
