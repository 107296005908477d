#pragma once
// The accessor pair of an attribute-backed step field: the setter stores the
// text in the step's attribute set under a fixed name, the getter copies it
// into the step's scratch string (empty when absent) and returns that.
// For classes derived from CWebStepWithAttributes that declare
// "mutable MString m_Scratch;".
#define WEBSTEP_ATTRIBUTE_FIELD(Field, Key)       \
    const MString& Get##Field() const {           \
        return GetAttributeValue(Key, m_Scratch); \
    }                                             \
    void Set##Field(const char* text) {           \
        SetAttributeValue(Key, text);             \
    }
