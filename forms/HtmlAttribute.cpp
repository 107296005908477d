#include "webstep/forms/HtmlAttribute.h"

const char* const CHiddenAttribute::HiddenKey = "hidden";

bool CHtmlAttribute::Match(const CHtmlAttribute&) const {
    return true;
}

void CHtmlAttribute::GetRequiredDataColumns(std::list<std::string>& out) {
    out.clear();
}

bool CStringAttribute::Match(const CHtmlAttribute& other) const {
    if (!CHtmlAttribute::Match(other)) {
        return false;
    }
    const auto* o = dynamic_cast<const CStringAttribute*>(&other);
    return o != nullptr && key == o->key && argument.GetValue() == o->argument.GetValue();
}

MString CStringAttribute::GetAttributeString() const {
    return key + " : " + argument.GetValue() + "\n";
}

void CStringAttribute::GetRequiredDataColumns(std::list<std::string>& out) {
    out.clear();
    if (argument.IsDataDriven()) {
        out.push_back(argument.GetParametrizableValue());
    }
}

bool CSrcStringAttribute::Match(const CHtmlAttribute& other) const {
    if (!CHtmlAttribute::Match(other)) {
        return false;
    }
    const auto* o = dynamic_cast<const CStringAttribute*>(&other);
    return o != nullptr && key == o->GetKey() && argument.SrcMatches(o->GetArgument());
}

bool CHiddenAttribute::Match(const CHtmlAttribute& other) const {
    if (!CHtmlAttribute::Match(other)) {
        return false;
    }
    const auto* o = dynamic_cast<const CHiddenAttribute*>(&other);
    return o != nullptr && name.GetValue() == o->name.GetValue() &&
           value.GetValue() == o->value.GetValue();
}

bool CHiddenAttribute::Parametrize(CContext* ctx) const {
    return name.Parametrize(ctx) && value.Parametrize(ctx);
}

MString CHiddenAttribute::GetAttributeString() const {
    return name.GetValue() + " : " + value.GetValue() + "\n";
}

void CHiddenAttribute::GetRequiredDataColumns(std::list<std::string>& out) {
    out.clear();
    if (name.IsDataDriven()) {
        out.push_back(name.GetParametrizableValue());
    }
    if (value.IsDataDriven()) {
        out.push_back(value.GetParametrizableValue());
    }
}
