#include "webstep/script/WebStepParse.h"

#include <strings.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"
#include "webstep/forms/TextTrim.h"
#include "webstep/steps/WebStepError.h"

namespace {

MString Trimmed(const MString& text) {
    return MbTrim(text);
}

bool EqualsNoCase(const MString& a, const char* b) {
    if (b == nullptr)
        return false;
    size_t n = std::strlen(b);
    return a.size() == n && strncasecmp(a.c_str(), b, n) == 0;
}

}  // namespace

CWebStepParse::CWebStepParse()
    : m_bArrayMode(true),
      m_pArgList(nullptr),
      m_ppArgs(nullptr),
      m_nArgIndex(0),
      m_nArgCount(0),
      m_Flags(WPF_NONE),
      m_bCopyArguments(false) {}

CWebStepParse::CWebStepParse(const CWebStepParse& other)
    : CWebStepBase(other),
      CWebStepScript(),
      m_bArrayMode(other.m_bArrayMode),
      m_pArgList(other.m_pArgList),
      m_ppArgs(other.m_ppArgs),
      m_nArgIndex(other.m_nArgIndex),
      m_nArgCount(other.m_nArgCount),
      m_Flags(other.m_Flags),
      m_bCopyArguments(other.m_bCopyArguments) {}

CWebStepParse& CWebStepParse::operator=(const CWebStepParse& other) {
    if (this == &other)
        return *this;
    CWebStepBase::operator=(other);
    m_bArrayMode = other.m_bArrayMode;
    m_pArgList = other.m_pArgList;
    m_ppArgs = other.m_ppArgs;
    m_nArgIndex = other.m_nArgIndex;
    m_nArgCount = other.m_nArgCount;
    m_Flags = other.m_Flags;
    m_bCopyArguments = other.m_bCopyArguments;
    return *this;
}

CWebStepParse::~CWebStepParse() = default;

bool CWebStepParse::Run(WebParserFlags flags) {
    m_Flags = flags;
    m_bCopyArguments = (flags & WPF_COPY_ARGUMENTS) != 0;
    // Each parse starts without an error, so a parser can be reused.
    SetErrorInfo(WSE_NONE, nullptr);
    bool result = __ParseArguments();
    m_CopiedArguments.clear();
    return result;
}

bool CWebStepParse::ParseArguments(unsigned int count, const char** args, WebParserFlags flags) {
    m_bArrayMode = true;
    m_pArgList = nullptr;
    m_ppArgs = args;
    m_nArgIndex = 0;
    // A null array holds nothing, whatever count says.
    m_nArgCount = args ? count : 0;
    return Run(flags);
}

bool CWebStepParse::ParseArguments(va_list args, WebParserFlags flags) {
    va_list copy;
    va_copy(copy, args);
    m_bArrayMode = false;
    m_pArgList = &copy;
    m_ppArgs = nullptr;
    m_nArgIndex = 0;
    m_nArgCount = 0;
    bool result = Run(flags);
    m_pArgList = nullptr;
    va_end(copy);
    return result;
}

bool CWebStepParse::ParseArgumentList(WebParserFlags flags, ...) {
    va_list args;
    va_start(args, flags);
    bool result = ParseArguments(args, flags);
    va_end(args);
    return result;
}

bool CWebStepParse::ParseArguments(const std::list<MString>& args, WebParserFlags flags) {
    std::vector<const char*> pointers;
    pointers.reserve(args.size());
    for (const MString& text : args)
        pointers.push_back(text.c_str());
    return ParseArguments(static_cast<unsigned int>(pointers.size()), pointers.data(), flags);
}

const char* CWebStepParse::GetNextArgument() {
    const char* argument = nullptr;
    if (m_bArrayMode) {
        if (m_ppArgs == nullptr || m_nArgIndex >= m_nArgCount)
            return nullptr;
        argument = m_ppArgs[m_nArgIndex++];
    } else {
        if (m_pArgList == nullptr)
            return nullptr;
        argument = va_arg(*m_pArgList, const char*);
    }
    // A null element is read as an empty text rather than crashing later.
    if (argument == nullptr)
        argument = "";
    if (m_bCopyArguments) {
        m_CopiedArguments.emplace_back(argument);
        return m_CopiedArguments.back().c_str();
    }
    return argument;
}

bool CWebStepParse::IsTerminator(const MString& argument, const char** terminators, int* index) {
    if (terminators != nullptr) {
        for (int i = 0; terminators[i] != nullptr; ++i) {
            if (EqualsNoCase(argument, terminators[i])) {
                if (index)
                    *index = i;
                return true;
            }
        }
    }
    if (index)
        *index = -1;
    return false;
}

bool CWebStepParse::IsParameter(const MString& text) {
    return !text.empty() && text.front() == m_paramLeftBrace[0] &&
           text.back() == m_paramRightBrace[0];
}

bool CWebStepParse::IsBodyVariable(const MString& text) {
    const size_t n = std::strlen(KeyWord_BodyVariablePrefix);
    return text.size() >= n && strncasecmp(text.c_str(), KeyWord_BodyVariablePrefix, n) == 0;
}

bool CWebStepParse::ParseAttribute(const MString& argument, MString& name, MString& value) {
    size_t equals = argument.find('=');
    if (equals != MString::npos && equals > 0) {
        MString before = argument.substr(0, equals);
        if (Trimmed(before).empty()) {
            SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", argument.c_str(), nullptr);
            return false;
        }
        name = before;
        value = argument.substr(equals + 1);
        return true;
    }
    if (IsBodyVariable(argument)) {
        name = argument;
        value.clear();
        return true;
    }
    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", argument.c_str(), nullptr);
    return false;
}

bool CWebStepParse::ParseUrlArgument(const MString& argument, MString& urlPart, MString& rest,
                                     MString& parameter) {
    parameter.clear();
    if (IsParameter(argument)) {
        urlPart.clear();
        rest.clear();
        parameter = argument;
        return true;
    }
    size_t colon = argument.find(':');
    if (colon == 0) {
        SetErrorInfo(WSE_URL_SYNTAX, "text", argument.c_str(), nullptr);
        return false;
    }
    urlPart = Trimmed(colon == MString::npos ? argument : argument.substr(0, colon));
    if (urlPart.empty()) {
        SetErrorInfo(WSE_URL_SYNTAX, "text", argument.c_str(), nullptr);
        return false;
    }
    if (colon != MString::npos)
        rest = Trimmed(argument.substr(colon + 1));
    return true;
}

bool CWebStepParse::ParseNumericArgument(const MString& text, unsigned int& value) {
    if (IsParameter(text)) {
        value = 0;
        return true;
    }
    char* end = nullptr;
    errno = 0;
    unsigned long number = std::strtoul(text.c_str(), &end, 10);
    if (end != text.c_str() + text.size()) {
        SetErrorInfo(WSE_NUMBER_SYNTAX, "text", text.c_str(), nullptr);
        return false;
    }
    value = static_cast<unsigned int>(number);
    return true;
}

bool CWebStepParse::ParseNumericSignedArgument(const MString& text, long& value) {
    if (IsParameter(text)) {
        value = 0;
        return true;
    }
    char* end = nullptr;
    errno = 0;
    long number = std::strtol(text.c_str(), &end, 10);
    if (end != text.c_str() + text.size()) {
        SetErrorInfo(WSE_NUMBER_SYNTAX, "text", text.c_str(), nullptr);
        return false;
    }
    value = number;
    return true;
}

bool CWebStepParse::ParseNumericArgumentOrAll(const MString& text) {
    if (IsParameter(text) || EqualsNoCase(text, KeyWord_ScopeAll))
        return true;
    char* end = nullptr;
    std::strtoul(text.c_str(), &end, 10);
    if (end == text.c_str() + text.size())
        return true;
    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", text.c_str(), nullptr);
    return false;
}

bool CWebStepParse::ParseYesNoArgument(const MString& text, bool& value) {
    if (IsParameter(text)) {
        value = false;
        return true;
    }
    if (EqualsNoCase(text, KeyWord_Yes)) {
        value = true;
        return true;
    }
    if (EqualsNoCase(text, KeyWord_No)) {
        value = false;
        return true;
    }
    SetErrorInfo(WSE_YESNO_SYNTAX, "text", text.c_str(), nullptr);
    return false;
}

bool CWebStepParse::ParseBooleanArgument(const MString& text, bool& value) {
    if (IsParameter(text)) {
        value = false;
        return true;
    }
    unsigned int number = 0;
    if (ParseNumericArgument(text, number) && number <= 1) {
        value = number == 1;
        return true;
    }
    // Replaces a number error recorded by the reading above.
    SetErrorInfo(WSE_BOOLEAN_SYNTAX, "text", text.c_str(), nullptr);
    return false;
}

bool CWebStepParse::ValidateAttribute(const MString& name, const MString& value,
                                      const CWebStepScript::AttrTableEntry* table, bool allowEmpty,
                                      int* result) {
    if (allowEmpty && value.empty())
        return true;
    // The name, not the value, is tested for a parameter reference: kept so,
    // so a value written as a reference is refused by tabled attributes.
    if (IsParameter(name))
        return true;
    if (table != nullptr) {
        for (const AttrTableEntry* row = table; row->name != nullptr; ++row) {
            if (EqualsNoCase(value, row->name)) {
                if (result)
                    *result = row->value;
                return true;
            }
        }
    }
    SetErrorInfo(WSE_INVALID_ATTRIBUTE_VALUE, "attribute", name.c_str(), "text", value.c_str(),
                 nullptr);
    return false;
}

bool CWebStepParse::BuildAttrSetFromArgList(CAttributeSet& attributes, const char** terminators,
                                            int* terminatorIndex, bool allowDuplicate) {
    if (terminatorIndex)
        *terminatorIndex = -1;
    for (;;) {
        const char* next = GetNextArgument();
        if (next == nullptr)
            return true;
        MString argument(next);
        if (IsTerminator(argument, terminators, terminatorIndex))
            return true;
        MString name;
        MString value;
        bool ok = ParseAttribute(argument, name, value);
        if (ok && !attributes.AddAttribute(name.c_str(), value.c_str(), allowDuplicate)) {
            SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, "attribute", name.c_str(), nullptr);
            ok = false;
        }
        if (!ok) {
            AddErrorAttribute("argument", GetArgumentIndex());
            return false;
        }
    }
}

bool CWebStepParse::BuildFreeText(std::list<MString>& texts, const char** terminators,
                                  int* terminatorIndex) {
    if (terminatorIndex)
        *terminatorIndex = -1;
    for (;;) {
        const char* next = GetNextArgument();
        if (next == nullptr)
            return true;
        MString argument(next);
        if (IsTerminator(argument, terminators, terminatorIndex))
            return true;
        texts.push_back(argument);
    }
}

bool CWebStepParse::BuildDataSetFromFieldList(CDataSet& dataSet, const char** terminators,
                                              int* terminatorIndex) {
    // The item being built.
    MString name, namePfx, nameSfx, value, contentType, filePath, transferEncoding;
    bool nameRegExp = false, valueRegExp = false, sent = true;
    CData::DataType type = CData::DT_UNSPECIFIED;
    // Which text and yes/no fields the item already has.
    enum : unsigned {
        F_NAME = 1,
        F_PFX = 2,
        F_SFX = 4,
        F_VALUE = 8,
        F_FILE = 16,
        F_CTYPE = 32,
        F_PATH = 64,
        F_CTE = 128,
        F_SENT = 256
    };
    unsigned seen = 0;
    bool itemOpen = false;
    unsigned int completed = 0;

    if (terminatorIndex)
        *terminatorIndex = -1;
    for (;;) {
        const char* next = GetNextArgument();
        if (next == nullptr)
            return true;
        MString argument(next);
        bool fieldFailed = false;
        MString fieldName;
        bool ok = true;
        if (IsTerminator(argument, terminators, terminatorIndex)) {
            if (!itemOpen)
                return true;
            SetErrorInfo(WSE_UNEXPECTED_END, nullptr);
            ok = false;
        } else if (EqualsNoCase(argument, KeyWord_EndItem)) {
            if ((seen & (F_NAME | F_PFX | F_SFX)) == 0) {
                SetErrorInfo(WSE_MISSING_ATTRIBUTE, "attribute", KeyWord_FormFieldName, nullptr);
                ok = false;
            } else {
                dataSet.AddData(
                    new CData(name, value, nameRegExp ? CData::RT_REGEX : CData::RT_LITERAL,
                              valueRegExp ? CData::RT_REGEX : CData::RT_LITERAL, type, sent,
                              namePfx, nameSfx, false, contentType, filePath, transferEncoding));
                name.clear(), namePfx.clear(), nameSfx.clear(), value.clear();
                contentType.clear(), filePath.clear(), transferEncoding.clear();
                nameRegExp = valueRegExp = false;
                sent = true;
                type = CData::DT_UNSPECIFIED;
                seen = 0;
                itemOpen = false;
                ++completed;
            }
        } else {
            MString fieldValue;
            if (!ParseAttribute(argument, fieldName, fieldValue)) {
                SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", argument.c_str(), nullptr);
                ok = false;
            } else {
                fieldFailed = true;  // any failure from here on names the field
                struct TextField {
                    const char* keyword;
                    unsigned bit;
                    MString* target;
                };
                const TextField textFields[] = {
                    {KeyWord_FormFieldName, F_NAME, &name},
                    {KeyWord_FormFieldNamePfx, F_PFX, &namePfx},
                    {KeyWord_FormFieldNameSfx, F_SFX, &nameSfx},
                    {KeyWord_FormFieldValue, F_VALUE, &value},
                };
                bool handled = false;
                for (const TextField& field : textFields) {
                    if (!EqualsNoCase(fieldName, field.keyword))
                        continue;
                    handled = true;
                    if (seen & field.bit) {
                        SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, nullptr);
                        ok = false;
                    } else {
                        *field.target = fieldValue;
                        seen |= field.bit;
                    }
                    break;
                }
                if (!handled) {
                    handled = true;
                    if (EqualsNoCase(fieldName, KeyWord_NameRegExp)) {
                        // May be repeated: the last one wins.
                        ok = ParseYesNoArgument(fieldValue, nameRegExp);
                    } else if (EqualsNoCase(fieldName, KeyWord_ValueRegExp)) {
                        ok = ParseYesNoArgument(fieldValue, valueRegExp);
                    } else if (EqualsNoCase(fieldName, KeyWord_FormFieldFile)) {
                        bool isFile = false;
                        if (seen & F_FILE) {
                            SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, nullptr);
                            ok = false;
                        } else if ((ok = ParseYesNoArgument(fieldValue, isFile))) {
                            type = isFile ? CData::DT_FILE : CData::DT_UNSPECIFIED;
                            seen |= F_FILE;
                        }
                    } else if (EqualsNoCase(fieldName, KeyWord_FormFieldContentType) ||
                               EqualsNoCase(fieldName, KeyWord_FormFieldFilePath) ||
                               EqualsNoCase(fieldName, KeyWord_FormFieldContentTransferEncoding)) {
                        unsigned bit = F_CTYPE;
                        MString* target = &contentType;
                        if (EqualsNoCase(fieldName, KeyWord_FormFieldFilePath)) {
                            bit = F_PATH;
                            target = &filePath;
                        } else if (EqualsNoCase(fieldName,
                                                KeyWord_FormFieldContentTransferEncoding)) {
                            bit = F_CTE;
                            target = &transferEncoding;
                        }
                        if (seen & bit) {
                            SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, nullptr);
                            ok = false;
                        } else {
                            *target = fieldValue;
                            seen |= bit;
                        }
                    } else if (EqualsNoCase(fieldName, KeyWord_FormFieldSent)) {
                        if (seen & F_SENT) {
                            SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, nullptr);
                            ok = false;
                        } else if ((ok = ParseYesNoArgument(fieldValue, sent))) {
                            seen |= F_SENT;
                        }
                    } else {
                        SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", argument.c_str(), nullptr);
                        ok = false;
                    }
                }
                if (ok)
                    itemOpen = true;
            }
        }
        if (!ok) {
            if (fieldFailed)
                AddErrorAttribute("attribute", fieldName.c_str());
            AddErrorAttribute("record", completed + 1);
            AddErrorAttribute("argument", GetArgumentIndex());
            return false;
        }
    }
}

bool CWebStepParse::BuildResourceDataSetFromFieldList(CResourceElements& resources,
                                                      const char** terminators,
                                                      int* terminatorIndex) {
    MString url, referer;
    bool haveUrl = false, haveReferer = false;
    bool itemOpen = false;
    unsigned int completed = 0;

    if (terminatorIndex)
        *terminatorIndex = -1;
    for (;;) {
        const char* next = GetNextArgument();
        if (next == nullptr)
            return true;
        MString argument(next);
        bool fieldFailed = false;
        MString fieldName;
        bool ok = true;
        if (IsTerminator(argument, terminators, terminatorIndex)) {
            if (!itemOpen)
                return true;
            SetErrorInfo(WSE_UNEXPECTED_END, nullptr);
            ok = false;
        } else if (EqualsNoCase(argument, KeyWord_EndItem)) {
            // No field is required: an empty item gives a resource with an empty URL.
            resources.AddTail(new CResource(url, referer));
            url.clear();
            referer.clear();
            haveUrl = haveReferer = false;
            itemOpen = false;
            ++completed;
        } else {
            MString fieldValue;
            if (!ParseAttribute(argument, fieldName, fieldValue)) {
                SetErrorInfo(WSE_UNKNOWN_KEYWORD, "text", argument.c_str(), nullptr);
                ok = false;
            } else {
                fieldFailed = true;
                if (EqualsNoCase(fieldName, KeyWord_Url) ||
                    EqualsNoCase(fieldName, KeyWord_Referer)) {
                    bool isUrl = EqualsNoCase(fieldName, KeyWord_Url);
                    bool& have = isUrl ? haveUrl : haveReferer;
                    if (have) {
                        SetErrorInfo(WSE_DUPLICATE_ATTRIBUTE, nullptr);
                        ok = false;
                    } else {
                        (isUrl ? url : referer) = fieldValue;
                        have = true;
                        itemOpen = true;
                    }
                } else {
                    SetErrorInfo(WSE_ATTRIBUTE_SYNTAX, "text", argument.c_str(), nullptr);
                    ok = false;
                }
            }
        }
        if (!ok) {
            if (fieldFailed)
                AddErrorAttribute("attribute", fieldName.c_str());
            AddErrorAttribute("record", completed + 1);
            AddErrorAttribute("argument", GetArgumentIndex());
            return false;
        }
    }
}

bool CWebStepParse::ApplyFrame(const FrameRule& rule) {
    if (m_bArrayMode) {
        const unsigned int count = m_nArgCount;
        switch (rule.shape) {
            case AS_NONE:
                if (count != 0) {
                    SetErrorInfo(WSE_UNEXPECTED_ARGUMENT, nullptr);
                    return false;
                }
                break;
            case AS_FIXED:
                if (count < rule.count) {
                    SetErrorInfo(WSE_MISSING_ARGUMENT, nullptr);
                    return false;
                }
                if (count > rule.count) {
                    SetErrorInfo(WSE_UNEXPECTED_ARGUMENT, nullptr);
                    return false;
                }
                break;
            case AS_FIXED_OR_1008:
                if (count != rule.count) {
                    SetErrorInfo(WSE_MISSING_ARGUMENT, nullptr);
                    return false;
                }
                break;
            case AS_ATTRIBUTES:
                if (count == 0) {
                    SetErrorInfo(WSE_NO_ARGUMENTS, nullptr);
                    return false;
                }
                break;
        }
    }

    if (rule.shape == AS_NONE)
        return true;
    if (rule.shape != AS_ATTRIBUTES) {
        for (unsigned int i = 0; i < rule.count; ++i)
            GetNextArgument();
        return true;
    }

    if (rule.leading == LA_STEP_NAME && (m_Flags & WPF_NO_STEP_NAME) == 0) {
        const char* name = GetNextArgument();
        if (name != nullptr)
            GetWebStep().SetName(name);
    } else if (rule.leading == LA_PARAMETER_NAME) {
        const char* name = GetNextArgument();
        if (name != nullptr)
            GetWebStep().SetName(MString(rule.function) + " " + name);
    }
    for (;;) {
        const char* next = GetNextArgument();
        if (next == nullptr || IsTerminator(next, DefaultTerminators, nullptr))
            return true;
    }
}
