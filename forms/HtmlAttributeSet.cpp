#include "webstep/forms/HtmlAttributeSet.h"

#include <algorithm>

CHtmlAttributeSet::CHtmlAttributeSet(const CHtmlAttributeSet& other) {
    for (const CHtmlAttribute* a : other.m_List) {
        m_List.push_back(a->Clone());
    }
}

CHtmlAttributeSet& CHtmlAttributeSet::operator=(const CHtmlAttributeSet& other) {
    if (this != &other) {
        std::list<CHtmlAttribute*> copies;
        for (const CHtmlAttribute* a : other.m_List) {
            copies.push_back(a->Clone());
        }
        PurgeData();
        m_List.swap(copies);
    }
    return *this;
}

CHtmlAttributeSet::~CHtmlAttributeSet() {
    PurgeData();
}

void CHtmlAttributeSet::PurgeData() {
    for (CHtmlAttribute* a : m_List) {
        delete a;
    }
    m_List.clear();
}

void CHtmlAttributeSet::AddAttribute(CHtmlAttribute* const attr) {
    if (attr != nullptr) {
        m_List.push_back(attr);
    }
}

bool CHtmlAttributeSet::Match(const CHtmlAttributeSet& wanted) const {
    for (const CHtmlAttribute* w : wanted.m_List) {
        const bool found = std::any_of(m_List.begin(), m_List.end(),
                                       [w](const CHtmlAttribute* a) { return a->Match(*w); });
        if (!found) {
            return false;
        }
    }
    return true;
}

bool CHtmlAttributeSet::Parametrize(CContext* ctx) const {
    for (const CHtmlAttribute* a : m_List) {
        if (!a->Parametrize(ctx)) {
            return false;
        }
    }
    return true;
}

MString CHtmlAttributeSet::GetAttributeString() const {
    MString text;
    for (const CHtmlAttribute* a : m_List) {
        text += a->GetAttributeString();
    }
    if (!text.empty()) {
        text.insert(0, "Step attributes:\r\n");
    }
    return text;
}

MString CHtmlAttributeSet::Report(bool b) const {
    MString text;
    for (const CHtmlAttribute* a : m_List) {
        if (!text.empty()) {
            text += "; ";
        }
        text += a->GetKey();
        if (const auto* h = dynamic_cast<const CHiddenAttribute*>(a)) {
            text += "(" + h->GetName() + ")";
        }
        text += "=" + a->Report(b);
    }
    return text;
}

MString CHtmlAttributeSet::ReportByKey(const MString& key, bool b) const {
    const auto it = GetPositionByKey(key);
    return it == m_List.end() ? MString() : (*it)->Report(b);
}

CHtmlAttributeSet::iterator CHtmlAttributeSet::GetPositionByKey(const MString& key) {
    if (key == CHiddenAttribute::HiddenKey) {
        return m_List.end();
    }
    return std::find_if(m_List.begin(), m_List.end(),
                        [&key](const CHtmlAttribute* a) { return a->GetKey() == key; });
}

CHtmlAttributeSet::const_iterator CHtmlAttributeSet::GetPositionByKey(const MString& key) const {
    if (key == CHiddenAttribute::HiddenKey) {
        return m_List.end();
    }
    return std::find_if(m_List.begin(), m_List.end(),
                        [&key](const CHtmlAttribute* a) { return a->GetKey() == key; });
}

void CHtmlAttributeSet::RemoveByKey(const MString& key) {
    const auto it = GetPositionByKey(key);
    if (it != m_List.end()) {
        delete *it;
        m_List.erase(it);
    }
}

bool CHtmlAttributeSet::GetParamByKey(const MString& key, CParametrizableArgument& out) const {
    const auto it = GetPositionByKey(key);
    if (it == m_List.end()) {
        return false;
    }
    const auto* s = dynamic_cast<const CStringAttribute*>(*it);
    if (s == nullptr) {
        return false;
    }
    out = s->GetArgument();
    return true;
}

void CHtmlAttributeSet::SetByKey(const MString& key, CHtmlAttribute* const attr) {
    if (attr == nullptr) {
        return;
    }
    if (key != CHiddenAttribute::HiddenKey) {
        const auto it = GetPositionByKey(attr->GetKey());
        if (it != m_List.end()) {
            if (*it == attr) {
                return;
            }
            delete *it;
            m_List.erase(it);
        }
    }
    m_List.push_back(attr);
}

void CHtmlAttributeSet::BuildHiddenAttrList(std::list<CHiddenAttribute*>& out) const {
    out.clear();
    for (CHtmlAttribute* a : m_List) {
        if (a->GetKey() == CHiddenAttribute::HiddenKey) {
            if (auto* h = dynamic_cast<CHiddenAttribute*>(a)) {
                out.push_back(h);
            }
        }
    }
}

unsigned int CHtmlAttributeSet::MergeHiddenAttrList(const std::list<CHiddenAttribute*>& hiddens) {
    unsigned int appended = 0;
    for (const CHiddenAttribute* given : hiddens) {
        if (given == nullptr) {
            continue;
        }
        CHiddenAttribute* existing = nullptr;
        for (CHtmlAttribute* a : m_List) {
            auto* h = dynamic_cast<CHiddenAttribute*>(a);
            if (h != nullptr && h->GetName() == given->GetName()) {
                existing = h;
                break;
            }
        }
        if (existing != nullptr) {
            if (existing != given) {
                *existing = *given;
            }
        } else {
            m_List.push_back(new CHiddenAttribute(*given));
            ++appended;
        }
    }
    return appended;
}

void CHtmlAttributeSet::GetRequiredDataColumns(std::list<std::string>& out) const {
    out.clear();
    for (CHtmlAttribute* a : m_List) {
        std::list<std::string> one;
        a->GetRequiredDataColumns(one);
        for (auto& name : one) {
            if (std::find(out.begin(), out.end(), name) == out.end()) {
                out.push_back(std::move(name));
            }
        }
    }
}
