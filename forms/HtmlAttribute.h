#pragma once
// The attributes by which a step names the page object it acts on (a form's
// action or name, an image source, a hidden field), on the page side and on
// the script side alike. Values may be parameter references.
#include <list>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/ParametrizableArgument.h"

class CContext;

/// Base of the attributes by which a step names a page object: a key and a
/// value that may be a parameter reference. Sets of attributes
/// (CHtmlAttributeSet) own them; Match returns false when the values differ.
class WEBSTEP_API CHtmlAttribute {
public:
    CHtmlAttribute() = default;
    CHtmlAttribute(const CHtmlAttribute&) = default;
    CHtmlAttribute& operator=(const CHtmlAttribute&) = default;
    virtual ~CHtmlAttribute() = default;

    /// Always true here; subclasses call it first.
    virtual bool Match(const CHtmlAttribute& other) const;
    virtual bool Parametrize(CContext* ctx) const = 0;
    virtual MString Report(bool) const = 0;
    virtual MString GetAttributeString() const = 0;
    virtual MString GetKey() const = 0;
    /// Only empties out here.
    virtual void GetRequiredDataColumns(std::list<std::string>& out);
    /// A new copy of the same class (used to copy attribute sets deeply).
    virtual CHtmlAttribute* Clone() const = 0;
};

/// A text attribute compared as text (a form's action or name, a link's text).
class WEBSTEP_API CStringAttribute : public CHtmlAttribute {
public:
    CStringAttribute(const MString& key, const MString& text) : key(key), argument(text) {}
    CStringAttribute(const MString& key, const CParametrizableArgument& argument)
        : key(key), argument(argument) {}

    /// Keys and values equal exactly.
    bool Match(const CHtmlAttribute& other) const override;
    bool Parametrize(CContext* ctx) const override { return argument.Parametrize(ctx); }
    MString Report(bool) const override { return argument.GetValue(); }
    /// "key : value\n"
    MString GetAttributeString() const override;
    MString GetKey() const override { return key; }
    void GetRequiredDataColumns(std::list<std::string>& out) override;
    CHtmlAttribute* Clone() const override { return new CStringAttribute(*this); }

    void SetKey(const MString& k) { key = k; }
    const MString& GetValue() const { return argument.GetValue(); }
    void SetValue(const MString& text) { argument.SetValue(text); }
    const CParametrizableArgument& GetArgument() const { return argument; }

protected:
    MString key;
    CParametrizableArgument argument;
};

/// An attribute holding a resource address: a script may name it by its last
/// path segment, letter case ignored.
class WEBSTEP_API CSrcStringAttribute : public CStringAttribute {
public:
    using CStringAttribute::CStringAttribute;
    bool Match(const CHtmlAttribute& other) const override;
    CHtmlAttribute* Clone() const override { return new CSrcStringAttribute(*this); }
};

/// One hidden field of a form; its key is always "hidden", so many may stand
/// in one set.
class WEBSTEP_API CHiddenAttribute : public CHtmlAttribute {
public:
    static const char* const HiddenKey;

    CHiddenAttribute(const MString& name, const MString& value) : name(name), value(value) {}
    CHiddenAttribute(const CParametrizableArgument& name, const CParametrizableArgument& value)
        : name(name), value(value) {}

    /// Names and values equal exactly.
    bool Match(const CHtmlAttribute& other) const override;
    /// Name first, then value; stops at the first failure.
    bool Parametrize(CContext* ctx) const override;
    MString Report(bool) const override { return value.GetValue(); }
    /// "name : value\n"
    MString GetAttributeString() const override;
    MString GetKey() const override { return HiddenKey; }
    void GetRequiredDataColumns(std::list<std::string>& out) override;
    CHtmlAttribute* Clone() const override { return new CHiddenAttribute(*this); }

    const MString& GetName() const { return name.GetValue(); }
    const MString& GetValue() const { return value.GetValue(); }
    void SetName(const MString& text) { name.SetValue(text); }
    void SetValue(const MString& text) { value.SetValue(text); }
    const CParametrizableArgument& GetNameArgument() const { return name; }
    const CParametrizableArgument& GetValueArgument() const { return value; }

private:
    CParametrizableArgument name;
    CParametrizableArgument value;
};
