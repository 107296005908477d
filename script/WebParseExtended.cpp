// The grammar reader shared by the step calls of current script versions:
// an attribute run, then the sections SEARCH_FILTERS, HEADERS ... ENDHEADER,
// SOURCES ... ENDITEM and BEGIN_ARGUMENTS ... END_RESULT, up to "LAST"; then
// every value by its kind, the required attributes and the search filters.
//
// Choices where the grammar facts are silent:
// - Section keywords are bare macros in scripts; they arrive as their source
//   text and are recognised ignoring letter case, like "LAST". A keyword the
//   function does not have, or one in the wrong place (a second
//   SEARCH_FILTERS, ENDHEADER with no open header), is refused with 1001 and
//   "text" the keyword.
// - Sections come after the attributes: once a section has started, the
//   attributes that follow belong to it, so a call attribute written after
//   SEARCH_FILTERS is refused with 1001 (it is not a filter name). Only the
//   argument and result sections of a service call return to the call's
//   attributes at their end keyword.
// - A header or source item still open at "LAST", or an argument or result
//   section not closed, is refused with 1011 naming the missing end keyword.
// - Attribute lists are closed where the grammar names every attribute: an
//   unknown name (usually a typing error) is refused with 1001 and "text" the
//   name. Lists that select a tag, carry custom-request options or service
//   options are open.
// - The same attribute written twice is refused with 1012, also when the
//   spellings differ only by options ("LB" and "LB/IC").
// - An ordinal counts from 1: "Ordinal=0" is refused with 1003.
// - The step name of a call without one is the function name, a space and
//   its "ParamName", "StepName" or "ID" (the first given), as for
//   web_reg_save_param.
// - Failures while reading the arguments carry the "argument" index, as
//   attribute runs do; failures of the value checks name the attribute.
#include <strings.h>

#include <cctype>
#include <cstring>

#include "webstep/script/WebParsers.h"
#include "webstep/script/internal/OptionSuffixes.h"
#include "webstep/steps/WebStepError.h"

namespace {

const char* const kSearchFilters = "SEARCH_FILTERS";
const char* const kHeaders = "HEADERS";
const char* const kEndHeader = "ENDHEADER";
const char* const kSources = "SOURCES";
const char* const kBeginArguments = "BEGIN_ARGUMENTS";
const char* const kEndArguments = "END_ARGUMENTS";
const char* const kBeginResult = "BEGIN_RESULT";
const char* const kEndResult = "END_RESULT";

const char* const kSectionKeywords[] = {kSearchFilters, kHeaders,     kEndHeader,
                                        kSources,       "ENDITEM",    kBeginArguments,
                                        kEndArguments,  kBeginResult, kEndResult};

bool EqualsNoCase(const char* a, const char* b) {
    return strcasecmp(a, b) == 0;
}

bool IsSectionKeyword(const char* text) {
    for (const char* keyword : kSectionKeywords)
        if (EqualsNoCase(text, keyword))
            return true;
    return false;
}

MString BaseName(const MString& name) {
    return name.substr(0, name.find('/'));
}

bool EndsWithNoCase(const MString& text, const char* suffix) {
    const size_t n = std::strlen(suffix);
    return text.size() > n && strcasecmp(text.c_str() + text.size() - n, suffix) == 0;
}

const CWebStepScript::AttrTableEntry kScopeValues[] = {
    {"All", 0}, {"Headers", 1}, {"Body", 2}, {"Cookies", 3}, {nullptr, 0}};

// The filter section: the same for every saving rule.
const char* const kFilterNames[] = {"Scope",      "HeaderNames",        "ContentType",
                                    "RequestUrl", "IgnoreRedirections", "RelFrameID"};

// "ALL", a parameter reference or a frame id: numbers joined by dots.
bool IsFrameId(const MString& text) {
    if (text.empty() || text.front() == '.' || text.back() == '.')
        return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '.' ? text[i + 1] == '.' : !std::isdigit(c))
            return false;
    }
    return true;
}

// Options after a URL name: "RE" (regular expression) and "IC", each
// segment a prefix of an option in that order, as boundary options are read.
bool ReadUrlOptions(const MString& name, unsigned int& bits) {
    static const char* const options[] = {"RE", "IC"};
    return webstep::script_internal::ReadOptionSuffixes(name, options, 2, bits);
}

}  // namespace

bool CWebParseExtended::ReadExtendedCall(const ExtendedGrammar& grammar, ExtendedCall& call) {
    if (!ReadExtendedArguments(grammar, call) || !CheckExtendedValues(grammar, call))
        return false;
    if (grammar.leading == LA_NONE) {
        static const char* const namers[] = {"ParamName", "StepName", "ID"};
        MString value;
        MString name = grammar.function;
        for (const char* namer : namers) {
            if (call.attributes.GetAttribute(namer, value)) {
                name += " ";
                name += value;
                break;
            }
        }
        GetWebStep().SetName(name.c_str());
    }
    return true;
}

bool CWebParseExtended::ReadExtendedArguments(const ExtendedGrammar& grammar, ExtendedCall& call) {
    if (IsArrayMode() && GetArgumentCount() == 0) {
        SetErrorInfo(WSE_NO_ARGUMENTS, nullptr);
        return false;
    }
    auto fail = [this]() {
        AddErrorAttribute("argument", GetArgumentIndex());
        return false;
    };
    if (grammar.leading == LA_STEP_NAME && (GetFlags() & WPF_NO_STEP_NAME) == 0) {
        const char* name = GetNextArgument();
        if (name != nullptr)
            GetWebStep().SetName(name);
    } else if (grammar.leading == LA_PARAMETER_NAME) {
        const char* name = GetNextArgument();
        if (name == nullptr || IsTerminator(name, DefaultTerminators, nullptr)) {
            SetErrorInfo(WSE_MISSING_ARGUMENT, nullptr);
            return false;
        }
        call.leading = name;
        GetWebStep().SetName((MString(grammar.function) + " " + name).c_str());
    }

    enum State { MAIN, FILTERS, HEADERS, SOURCES, ARGUMENTS, RESULT } state = MAIN;
    bool filtersSeen = false, argumentsSeen = false, resultSeen = false;
    bool itemOpen = false;
    CAttributeSet item;
    for (;;) {
        const char* argument = GetNextArgument();
        if (argument == nullptr || IsTerminator(argument, DefaultTerminators, nullptr))
            break;
        if (IsSectionKeyword(argument)) {
            bool accepted = false;
            if (EqualsNoCase(argument, kSearchFilters)) {
                accepted = (grammar.sections & ES_SEARCH_FILTERS) && state == MAIN && !filtersSeen;
                filtersSeen = true;
                state = FILTERS;
            } else if (EqualsNoCase(argument, kHeaders)) {
                accepted = (grammar.sections & ES_HEADERS) && state == MAIN;
                state = HEADERS;
            } else if (EqualsNoCase(argument, kSources)) {
                accepted = (grammar.sections & ES_SOURCES) && state == MAIN;
                state = SOURCES;
            } else if (EqualsNoCase(argument, kEndHeader) ||
                       EqualsNoCase(argument, KeyWord_EndItem)) {
                const bool header = EqualsNoCase(argument, kEndHeader);
                accepted = itemOpen && state == (header ? HEADERS : SOURCES);
                if (accepted) {
                    // A header needs both halves; a source item its file.
                    static const char* const headerFields[] = {KeyWord_FormFieldName,
                                                               KeyWord_FormFieldValue};
                    static const char* const sourceFields[] = {KeyWord_FormFieldFile};
                    const char* const* fields = header ? headerFields : sourceFields;
                    const size_t count = header ? 2 : 1;
                    MString value;
                    for (size_t i = 0; i < count; ++i) {
                        if (!item.GetAttribute(fields[i], value)) {
                            SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", fields[i], nullptr);
                            return fail();
                        }
                    }
                    call.items.push_back(item);
                    item.RemoveAll();
                    itemOpen = false;
                }
            } else if (EqualsNoCase(argument, kBeginArguments)) {
                accepted = (grammar.sections & ES_ARGUMENTS) && state == MAIN && !argumentsSeen;
                argumentsSeen = true;
                state = ARGUMENTS;
            } else if (EqualsNoCase(argument, kEndArguments)) {
                accepted = state == ARGUMENTS;
                state = MAIN;
            } else if (EqualsNoCase(argument, kBeginResult)) {
                accepted = (grammar.sections & ES_ARGUMENTS) && state == MAIN && !resultSeen;
                resultSeen = true;
                state = RESULT;
            } else if (EqualsNoCase(argument, kEndResult)) {
                accepted = state == RESULT;
                state = MAIN;
            }
            if (!accepted) {
                SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", argument, nullptr);
                return fail();
            }
            continue;
        }

        MString name, value;
        if (!ParseAttribute(argument, name, value))
            return fail();
        CAttributeSet* target = &call.attributes;
        switch (state) {
            case MAIN:
                break;
            case FILTERS: {
                bool known = false;
                for (const char* filter : kFilterNames)
                    known = known || EqualsNoCase(name.c_str(), filter);
                if (!known) {
                    SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", name.c_str(), nullptr);
                    return fail();
                }
                target = &call.filters;
                break;
            }
            case HEADERS:
            case SOURCES: {
                const bool known = state == HEADERS
                                       ? EqualsNoCase(name.c_str(), KeyWord_FormFieldName) ||
                                             EqualsNoCase(name.c_str(), KeyWord_FormFieldValue)
                                       : EqualsNoCase(name.c_str(), KeyWord_FormFieldFile);
                if (!known) {
                    SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", name.c_str(), nullptr);
                    return fail();
                }
                itemOpen = true;
                target = &item;
                break;
            }
            case ARGUMENTS:
                target = &call.arguments;
                break;
            case RESULT:
                target = &call.results;
                break;
        }
        if (!target->AddAttribute(name.c_str(), value.c_str(), false)) {
            SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, "attribute", name.c_str(), nullptr);
            return fail();
        }
    }
    const char* missingEnd = nullptr;
    if (itemOpen)
        missingEnd = state == HEADERS ? kEndHeader : KeyWord_EndItem;
    else if (state == ARGUMENTS)
        missingEnd = kEndArguments;
    else if (state == RESULT)
        missingEnd = kEndResult;
    if (missingEnd != nullptr) {
        SetErrorInfo(WSE_UNEXPECTED_END, "text", missingEnd, nullptr);
        return fail();
    }
    return true;
}

bool CWebParseExtended::CheckValue(const ExtendedAttribute& rule, const MString& name,
                                   const MString& value, ExtendedCall& call) {
    if (rule.need == EN_VALUE && value.empty()) {
        SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", name.c_str(), "text", "", nullptr);
        return false;
    }
    switch (rule.kind) {
        case EV_TEXT:
            return true;
        case EV_UNSIGNED: {
            unsigned int number = 0;
            return ParseNumericArgument(value, number);
        }
        case EV_SIGNED: {
            long number = 0;
            return ParseNumericSignedArgument(value, number);
        }
        case EV_YES_NO: {
            bool flag = false;
            return ParseYesNoArgument(value, flag);
        }
        case EV_BOOLEAN: {
            bool flag = false;
            return ParseBooleanArgument(value, flag);
        }
        case EV_TABLE:
            return ValidateAttribute(name, value, rule.table, false, nullptr);
        case EV_ORDINAL:
            if (EqualsNoCase(value.c_str(), KeyWord_LastItem))
                return true;
            if (!ParseNumericArgumentOrAll(value))
                return false;
            if (!IsParameter(value) && !EqualsNoCase(value.c_str(), KeyWord_ScopeAll) &&
                std::strtoul(value.c_str(), nullptr, 10) == 0) {
                SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", name.c_str(), "text",
                             value.c_str(), nullptr);
                return false;
            }
            return true;
        case EV_BOUNDARY:
            return ParseParamBoundary(name, EqualsNoCase(rule.name, KeyWord_RightBound)
                                                ? call.rightFlags
                                                : call.leftFlags);
        case EV_URL:
            if (!ReadUrlOptions(name, call.urlFlags)) {
                SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", name.c_str(), nullptr);
                return false;
            }
            return true;
    }
    return true;
}

bool CWebParseExtended::CheckExtendedValues(const ExtendedGrammar& grammar, ExtendedCall& call) {
    size_t ruleCount = 0;
    while (grammar.attributes[ruleCount].name != nullptr)
        ++ruleCount;
    std::vector<bool> seen(ruleCount, false);
    size_t oneOfCount = 0;

    CPropertyBagIterator it(call.attributes);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
        const ExtendedAttribute* rule = nullptr;
        size_t index = 0;
        for (; index < ruleCount; ++index) {
            const ExtendedAttribute& candidate = grammar.attributes[index];
            const bool withOptions = candidate.kind == EV_BOUNDARY || candidate.kind == EV_URL;
            if (EqualsNoCase((withOptions ? BaseName(name) : name).c_str(), candidate.name)) {
                rule = &candidate;
                break;
            }
        }
        if (rule == nullptr) {
            if (grammar.open ||
                (grammar.openSuffix != nullptr && EndsWithNoCase(name, grammar.openSuffix)))
                continue;
            SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", name.c_str(), nullptr);
            return false;
        }
        if (seen[index]) {
            SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, "attribute", name.c_str(), nullptr);
            return false;
        }
        seen[index] = true;
        if (!CheckValue(*rule, name, value, call))
            return false;
        if (grammar.oneOf != nullptr) {
            for (const char* const* one = grammar.oneOf; *one != nullptr; ++one) {
                if (!EqualsNoCase(rule->name, *one))
                    continue;
                if (++oneOfCount > 1) {
                    SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", name.c_str(), "text",
                                 value.c_str(), nullptr);
                    return false;
                }
                call.oneOfName = rule->name;
                call.oneOfValue = value;
            }
        }
    }
    for (size_t i = 0; i < ruleCount; ++i) {
        if (grammar.attributes[i].need != EN_OPTIONAL && !seen[i]) {
            SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", grammar.attributes[i].name, nullptr);
            return false;
        }
    }
    if (grammar.oneOf != nullptr && oneOfCount == 0) {
        MString names;
        for (const char* const* one = grammar.oneOf; *one != nullptr; ++one) {
            if (!names.empty())
                names += "|";
            names += *one;
        }
        SetErrorInfo(WSE_MISSING_ATTRIBUTE, "text", names.c_str(), nullptr);
        return false;
    }
    return CheckSearchFilters(call);
}

// Scope is one of All, Headers, Body and Cookies; HeaderNames needs
// Scope=Headers; IgnoreRedirections is yes or no; RelFrameID is ALL or a frame
// id (numbers joined by dots), and ALL needs the ordinal absent or All. The
// conflicts are refused with 1003 naming the attribute that does not fit.
bool CWebParseExtended::CheckSearchFilters(ExtendedCall& call) {
    MString value;
    if (call.filters.GetAttribute("Scope", value) &&
        !ValidateAttribute("Scope", value, kScopeValues, false, nullptr))
        return false;
    if (call.filters.GetAttribute(KeyWord_IgnoreRedirections, value)) {
        bool flag = false;
        if (!ParseYesNoArgument(value, flag))
            return false;
    }
    MString scope;
    if (call.filters.GetAttribute("HeaderNames", value) &&
        !(call.filters.GetAttribute("Scope", scope) && EqualsNoCase(scope.c_str(), "Headers"))) {
        SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", "HeaderNames", "text", value.c_str(),
                     nullptr);
        return false;
    }
    if (call.filters.GetAttribute(KeyWord_RelFrameId, value)) {
        const bool all = EqualsNoCase(value.c_str(), "ALL");
        if (!all && !IsParameter(value) && !IsFrameId(value)) {
            SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", "RelFrameID", "text",
                         value.c_str(), nullptr);
            return false;
        }
        MString ordinal;
        if (all && call.attributes.GetAttribute(KeyWord_Ordinal, ordinal) &&
            !EqualsNoCase(ordinal.c_str(), KeyWord_ScopeAll)) {
            SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", KeyWord_Ordinal, "text",
                         ordinal.c_str(), nullptr);
            return false;
        }
    }
    return true;
}

void CWebParseExtended::CopyExtendedAttributes(const ExtendedGrammar& grammar,
                                               const CAttributeSet& from, CAttributeSet& to) {
    CPropertyBagIterator it(from);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
        const char* stored = name.c_str();
        for (const ExtendedAttribute* rule = grammar.attributes; rule->name != nullptr; ++rule) {
            if ((rule->kind == EV_BOUNDARY || rule->kind == EV_URL) &&
                EqualsNoCase(BaseName(name).c_str(), rule->name)) {
                stored = rule->name;
                break;
            }
        }
        to.AddAttribute(stored, value.c_str(), true);
    }
}

namespace {

#define WEBSTEP_NAME_STANDARD(function)
#define WEBSTEP_NAME_EXTENDED(function) #function,
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_NAME_##set(function)
const char* const kExtendedFunctionNames[] = {
#include "webstep/script/StepFunctions.def"
    nullptr};
#undef WEBSTEP_NAME_STANDARD
#undef WEBSTEP_NAME_EXTENDED

}  // namespace

void CWebStepParse::UpdateRepositoryExtended(CObjectRepository& repository) {
#define WEBSTEP_REGISTER_STANDARD(function, Parser)
#define WEBSTEP_REGISTER_EXTENDED(function, Parser) \
    repository.RegisterObject(#function, Parser::CreateObject);
#define WEBSTEP_STEP_FUNCTION(set, function, Parser, Creator, Step, arguments) \
    WEBSTEP_REGISTER_##set(function, Parser)
#include "webstep/script/StepFunctions.def"
#undef WEBSTEP_REGISTER_STANDARD
#undef WEBSTEP_REGISTER_EXTENDED
}

const char* const* CWebStepParse::GetExtendedFunctionNames() {
    return kExtendedFunctionNames;
}
