// The page object model: implementation objects, wrappers, form elements and
// their cached fields, forms with radio groups, links and maps.
#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <utility>

#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLPage.h"

namespace {

// A page object with the given attributes; a null value stands for an
// attribute written without one.
CHTMLObjectImpl* Make(HTMLTag tag,
                      std::initializer_list<std::pair<const char*, const char*>> attrs = {}) {
    auto* list = new CHTMLAttrs();
    for (const auto& a : attrs) {
        list->add(a.first, a.second);
    }
    return new CHTMLObjectImpl(tag, list);
}

TEST(HTMLObjectImplTest, AttrGivesValueEmptyStringOrNull) {
    CHTMLObjectImpl o(HTML_INPUT);
    o.addAttr("type", "checkbox");
    o.addAttr("checked", nullptr);
    EXPECT_STREQ(o.attr("type"), "checkbox");
    EXPECT_STREQ(o.attr("checked"), "");
    EXPECT_EQ(o.attr("value"), nullptr);
    EXPECT_EQ(o.attr(nullptr), nullptr);
    EXPECT_TRUE(o.isAttrValueDefined("type"));
    EXPECT_FALSE(o.isAttrValueDefined("checked"));
    EXPECT_FALSE(o.isAttrValueDefined("value"));
}

TEST(HTMLObjectImplTest, AttrNamesCompareExactly) {
    CHTMLObjectImpl o(HTML_A);
    o.addAttr("href", "x");
    EXPECT_EQ(o.attr("HREF"), nullptr);
    EXPECT_NE(o.findAttrNoCase("HREF"), nullptr);
}

TEST(HTMLObjectImplTest, RepeatedAttributeAnswersWithTheFirst) {
    CHTMLObjectImpl o(HTML_INPUT);
    o.addAttr("name", "first");
    o.addAttr("name", "second");
    EXPECT_EQ(o.nAttrs(), 2);
    EXPECT_STREQ(o.attr("name"), "first");
    o.setAttr("name", "changed");
    EXPECT_STREQ(o.getAttrValueByIndex(0), "changed");
    EXPECT_STREQ(o.getAttrValueByIndex(1), "second");
}

TEST(HTMLObjectImplTest, AttributesByIndexAndOutOfRange) {
    CHTMLObjectImpl o(HTML_INPUT);
    o.addAttr("a", "1");
    o.addAttr("b", nullptr);
    CHTMLAttr out(nullptr, nullptr);
    ASSERT_TRUE(o.getAttrByIndex(1, out));
    EXPECT_STREQ(out.name(), "b");
    EXPECT_FALSE(out.hasAValue());
    EXPECT_FALSE(o.getAttrByIndex(2, out));
    EXPECT_FALSE(o.getAttrByIndex(-1, out));
    EXPECT_STREQ(o.getAttrNameByIndex(0), "a");
    EXPECT_STREQ(o.getAttrValueByIndex(1), "");
    EXPECT_EQ(o.getAttrNameByIndex(5), nullptr);
    EXPECT_EQ(o.getAttrValueByIndex(-3), nullptr);
}

TEST(HTMLObjectImplTest, SetAttrWithoutSuchAttributeAddsNothing) {
    CHTMLFormElement_ e(Make(HTML_INPUT, {{"name", "a"}}));
    e.setAttr("value", "x");
    EXPECT_EQ(e.attr("value"), nullptr);
    EXPECT_EQ(e.value(), nullptr);
    EXPECT_EQ(e.nAttrs(), 1);
}

TEST(HTMLObjectImplTest, SetAttrWithNullStoresEmptyValue) {
    CHTMLObjectImpl o(HTML_INPUT);
    o.addAttr("value", "x");
    o.setAttr("value", nullptr);
    EXPECT_STREQ(o.attr("value"), "");
    EXPECT_TRUE(o.isAttrValueDefined("value"));
}

TEST(HTMLObjectImplTest, CopyIsDeep) {
    CHTMLObjectImpl o(HTML_TEXTAREA);
    o.addAttr("name", "t");
    o.setContent("hello");
    CHTMLObjectImpl copy(o);
    o.setAttr("name", "u");
    o.setContent("bye");
    EXPECT_STREQ(copy.attr("name"), "t");
    EXPECT_STREQ(copy.content(), "hello");
    EXPECT_EQ(copy.tag(), HTML_TEXTAREA);
    CHTMLObjectImpl assigned(HTML_A);
    assigned = copy;
    EXPECT_EQ(assigned.tag(), HTML_TEXTAREA);
    EXPECT_STREQ(assigned.content(), "hello");
}

TEST(HTMLObjectImplTest, NullAttributeListIsEmpty) {
    CHTMLObjectImpl o(HTML_BR, nullptr);
    EXPECT_EQ(o.nAttrs(), 0);
    EXPECT_EQ(o.content(), nullptr);
    o.setContent("abc", 2);
    EXPECT_STREQ(o.content(), "ab");
}

TEST(HTMLObjectTest, WrapperWithoutImplementationAnswersEmpty) {
    CHTMLObject o;
    EXPECT_EQ(o.tag(), HTML_UNKNOWN_TAG);
    EXPECT_EQ(o.nAttrs(), 0);
    EXPECT_EQ(o.attr("x"), nullptr);
    EXPECT_EQ(o.content(), nullptr);
    o.setAttr("x", "y");
    CHTMLAttr out(nullptr, nullptr);
    EXPECT_FALSE(o.getAttrByIndex(0, out));
}

TEST(HTMLObjectTest, WrapperForwardsToItsImplementation) {
    CHTMLObjectImpl impl(HTML_A);
    impl.addAttr("href", "x");
    CHTMLObject o(&impl);
    EXPECT_EQ(o.GetImpl(), &impl);
    EXPECT_EQ(o.tag(), HTML_A);
    EXPECT_STREQ(o.attr("href"), "x");
    CHTMLObjectImpl other(HTML_IMG);
    o.SetImpl(&other);
    EXPECT_EQ(o.tag(), HTML_IMG);
}

TEST(HTMLFormElementTest, TextTypeInAnyCaseSearchAndNoTypeAreAllType1) {
    CHTMLFormElement_ upper(Make(HTML_INPUT, {{"type", "TEXT"}}));
    CHTMLFormElement_ search(Make(HTML_INPUT, {{"type", "search"}}));
    CHTMLFormElement_ none(Make(HTML_INPUT, {{"name", "q"}}));
    EXPECT_EQ(upper.type(), 1);
    EXPECT_EQ(search.type(), 1);
    EXPECT_EQ(none.type(), 1);
}

TEST(HTMLFormElementTest, EveryInputTypeHasItsNumber) {
    const std::pair<const char*, int> cases[] = {
        {"password", 2}, {"CheckBox", 3}, {"radio", 4}, {"submit", 5}, {"reset", 6},
        {"file", 7},     {"hidden", 8},   {"IMAGE", 9}, {"text", 1},   {"", 1},
    };
    for (const auto& c : cases) {
        CHTMLFormElement_ e(Make(HTML_INPUT, {{"type", c.first}}));
        EXPECT_EQ(e.type(), c.second) << c.first;
    }
}

TEST(HTMLFormElementTest, ButtonIsTwelveAfterAreaEleven) {
    CHTMLFormElement_ button(Make(HTML_INPUT, {{"type", "Button"}}));
    CHTMLFormElement_ area(Make(HTML_AREA, {{"href", "x"}}));
    EXPECT_EQ(button.type(), 12);
    EXPECT_EQ(area.type(), 11);
    EXPECT_EQ(CHTMLFormElement::ELEMENT_BUTTON, 12);
}

TEST(HTMLFormElementTest, SelectIsTenTextAreaAndOtherTagsAreZero) {
    CHTMLMenu_ menu(Make(HTML_SELECT, {{"name", "m"}}));
    CHTMLTextArea_ area(Make(HTML_TEXTAREA, {{"name", "t"}}));
    CHTMLFormElement_ other(Make(HTML_A));
    EXPECT_EQ(menu.type(), 10);
    EXPECT_EQ(area.type(), 0);
    EXPECT_EQ(other.type(), 0);
    CHTMLFormElement bare;
    EXPECT_EQ(bare.type(), 0);
}

TEST(HTMLFormElementTest, NameAndValueAreCachedCopies) {
    CHTMLFormElement_ e(Make(HTML_INPUT, {{"name", "n"}, {"value", "v"}}));
    const char* name = e.name();
    EXPECT_STREQ(name, "n");
    EXPECT_EQ(e.name(), name);
    EXPECT_STREQ(e.value(), "v");
    // Changing the value through the element is seen, not a stale cache.
    e.setAttr("value", "w");
    EXPECT_STREQ(e.value(), "w");
    CHTMLFormElement_ none(Make(HTML_INPUT));
    EXPECT_EQ(none.name(), nullptr);
    EXPECT_EQ(none.value(), nullptr);
}

TEST(HTMLFormElementTest, CheckedAttributeWithoutValueMeansChecked) {
    CHTMLCheckbox_ checked(Make(HTML_INPUT, {{"type", "checkbox"}, {"checked", nullptr}}));
    CHTMLCheckbox_ unchecked(Make(HTML_INPUT, {{"type", "checkbox"}}));
    EXPECT_STREQ(checked.attr("checked"), "");
    EXPECT_TRUE(checked.checked());
    EXPECT_EQ(unchecked.attr("checked"), nullptr);
    EXPECT_FALSE(unchecked.checked());
    CHTMLRadioValue_ radio(Make(HTML_INPUT, {{"type", "radio"}, {"checked", "checked"}}));
    EXPECT_TRUE(radio.checked());
}

TEST(HTMLFormElementTest, TextAreaValueIsItsContent) {
    CHTMLTextArea_ area(Make(HTML_TEXTAREA, {{"name", "t"}, {"value", "ignored"}}));
    EXPECT_EQ(area.value(), nullptr);
    area.GetImpl()->setContent("line 1\nline 2");
    EXPECT_STREQ(area.value(), "line 1\nline 2");
}

TEST(HTMLMenuTest, ItemsWithValueSelectedAndText) {
    CHTMLMenu_ menu(Make(HTML_SELECT, {{"name", "m"}}));
    auto* a = new CHTMLMenuItem_(Make(HTML_OPTION, {{"value", "1"}, {"selected", nullptr}}));
    auto* b = new CHTMLMenuItem_(Make(HTML_OPTION));
    menu.addItem(a);
    menu.addItem(b);
    EXPECT_EQ(menu.nItems(), 2);
    EXPECT_EQ(menu.item(0), a);
    EXPECT_EQ(menu.item(2), nullptr);
    EXPECT_EQ(menu.item(-1), nullptr);
    EXPECT_STREQ(a->value(), "1");
    EXPECT_TRUE(a->selected());
    EXPECT_EQ(b->value(), nullptr);
    EXPECT_FALSE(b->selected());
    EXPECT_EQ(a->text(), nullptr);
    a->setItemText("One");
    EXPECT_STREQ(a->text(), "One");
}

TEST(HTMLFormTest, PostInLowerCaseIsMethod2PutIsMethod1) {
    CHTMLForm_ post(Make(HTML_FORM, {{"method", "post"}}), nullptr);
    CHTMLForm_ put(Make(HTML_FORM, {{"method", "put"}}), nullptr);
    CHTMLForm_ none(Make(HTML_FORM), nullptr);
    CHTMLForm_ get(Make(HTML_FORM, {{"method", "GET"}}), nullptr);
    EXPECT_EQ(post.method(), 2);
    EXPECT_EQ(put.method(), 1);
    EXPECT_EQ(none.method(), 1);
    EXPECT_EQ(get.method(), CHTMLForm::METHOD_GET);
}

TEST(HTMLFormTest, DefaultMethodIsNotCachedExplicitOneIs) {
    CHTMLForm_ form(Make(HTML_FORM, {{"method", "put"}}), nullptr);
    EXPECT_EQ(form.method(), 1);
    // A changed attribute is seen because the default was not cached.
    form.GetImpl()->setAttr("method", "POST");
    EXPECT_EQ(form.method(), 2);
    // The explicit answer is cached: a change behind the wrapper's back is
    // not seen.
    form.GetImpl()->setAttr("method", "get");
    EXPECT_EQ(form.method(), 2);
    // A change through the wrapper is.
    form.setAttr("method", "get");
    EXPECT_EQ(form.method(), 1);
}

TEST(HTMLFormTest, ActionNameAndBaseFromTheBaseElement) {
    CHTMLObjectImpl* base = Make(HTML_BASE, {{"href", "http://h/d/"}, {"target", "_top"}});
    CHTMLForm_ form(Make(HTML_FORM, {{"action", "a.cgi"}, {"name", "f"}}), base);
    EXPECT_STREQ(form.action(), "a.cgi");
    EXPECT_STREQ(form.name(), "f");
    EXPECT_STREQ(form.base(), "http://h/d/");
    EXPECT_STREQ(form.baseTarget(), "_top");
    CHTMLForm_ noBase(Make(HTML_FORM), nullptr);
    EXPECT_EQ(noBase.base(), nullptr);
    EXPECT_EQ(noBase.baseTarget(), nullptr);
    delete base;
}

TEST(HTMLFormTest, RadioValuesNamedRAndUpperRFormOneGroup) {
    CHTMLForm_ form(Make(HTML_FORM), nullptr);
    auto* r1 = new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "r"}}));
    auto* r2 = new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "R"}}));
    form.addElement(r1);
    form.addElement(r2);
    ASSERT_EQ(form.nElements(), 1);
    auto* group = dynamic_cast<CHTMLRadio*>(form.element(0));
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->type(), 4);
    EXPECT_STREQ(group->name(), "r");
    EXPECT_EQ(group->nValues(), 2);
    EXPECT_EQ(group->value(0), r1);
    EXPECT_EQ(group->value(1), r2);
    EXPECT_EQ(group->value(2), nullptr);
}

TEST(HTMLFormTest, RadioGroupingSearchesFromTheLastElement) {
    CHTMLForm_ form(Make(HTML_FORM), nullptr);
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "a"}})));
    form.addElement(new CHTMLFormElement_(Make(HTML_INPUT, {{"name", "t"}})));
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "b"}})));
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "A"}})));
    ASSERT_EQ(form.nElements(), 3);
    EXPECT_EQ(static_cast<CHTMLRadio*>(form.element(0))->nValues(), 2);
    EXPECT_EQ(form.element(1)->type(), 1);
    EXPECT_EQ(static_cast<CHTMLRadio*>(form.element(2))->nValues(), 1);
}

TEST(HTMLFormTest, RadioValuesWithoutNameEachStartAGroup) {
    CHTMLForm_ form(Make(HTML_FORM), nullptr);
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}})));
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}})));
    EXPECT_EQ(form.nElements(), 2);
}

TEST(HTMLFormTest, RadioGroupIsMadeByTheFormsFactory) {
    struct CountingForm : CHTMLForm {
        using CHTMLForm::CHTMLForm;
        int made = 0;
        CHTMLRadio* newRadio(CHTMLRadioValue* first) override {
            ++made;
            return CHTMLForm::newRadio(first);
        }
    };
    CHTMLObjectImpl impl(HTML_FORM);
    CountingForm form(&impl);
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "x"}})));
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "X"}})));
    form.addRadio_(new CHTMLRadioValue_(Make(HTML_INPUT, {{"type", "radio"}, {"name", "y"}})));
    EXPECT_EQ(form.made, 2);
    EXPECT_EQ(form.nElements(), 2);
}

TEST(HTMLFormTest, ElementsOutOfRangeAndCleanup) {
    CHTMLForm_ form(Make(HTML_FORM), nullptr);
    form.addElement(new CHTMLFormElement_(Make(HTML_INPUT)));
    form.addElement(nullptr);
    EXPECT_EQ(form.nElements(), 1);
    EXPECT_EQ(form.element(1), nullptr);
    EXPECT_EQ(form.element(-1), nullptr);
    form.cleanup();
    EXPECT_EQ(form.nElements(), 0);
}

TEST(HTMLFormTest, ManyElementsGrowTheList) {
    CHTMLForm_ form(Make(HTML_FORM), nullptr);
    for (int i = 0; i < 1000; ++i) {
        form.addElement(new CHTMLFormElement_(Make(HTML_INPUT, {{"name", "n"}})));
    }
    EXPECT_EQ(form.nElements(), 1000);
    EXPECT_STREQ(form.element(999)->name(), "n");
}

TEST(HTMLLinkTest, LinkKeepsItsFieldsAndBase) {
    CHTMLObjectImpl base(HTML_BASE);
    base.addAttr("href", "http://h/");
    base.addAttr("target", "main");
    CHTMLObjectDirect object(Make(HTML_IMG, {{"src", "y"}}));
    CHTMLLinkImpl link(HTML_IMG, "src", "y.gif", true, false, &base, &object);
    EXPECT_EQ(link.tag(), HTML_IMG);
    EXPECT_STREQ(link.urlAttrName(), "src");
    EXPECT_STREQ(link.url(), "y.gif");
    EXPECT_TRUE(link.isResource());
    EXPECT_FALSE(link.isFollowable());
    EXPECT_FALSE(link.isMap());
    EXPECT_STREQ(link.base(), "http://h/");
    EXPECT_STREQ(link.baseTarget(), "main");
    EXPECT_EQ(link.getObject(), &object);
    EXPECT_FALSE(link.isFollowed());
    link.setFollowed(true);
    EXPECT_TRUE(link.isFollowed());
    link.setIsMap(true);
    EXPECT_TRUE(link.isMap());
    EXPECT_EQ(link.getMap(), nullptr);
}

TEST(HTMLLinkTest, LinkWithoutBaseOrUrl) {
    CHTMLLinkImpl link(HTML_A, nullptr, nullptr, false, true, nullptr, nullptr);
    EXPECT_STREQ(link.url(), "");
    EXPECT_STREQ(link.urlAttrName(), "");
    EXPECT_EQ(link.base(), nullptr);
    EXPECT_EQ(link.baseTarget(), nullptr);
}

TEST(HTMLMapTest, MapListsLinksWithoutOwningThem) {
    auto* link = new CHTMLLinkImpl(HTML_AREA, "href", "a.htm", false, true, nullptr, nullptr);
    {
        CHTMLMap map(Make(HTML_MAP, {{"name", "m"}}));
        map.addLink(link);
        link->setMap(&map);
        EXPECT_STREQ(map.name(), "m");
        EXPECT_EQ(map.nLinks(), 1);
        EXPECT_EQ(map.element(0), link);
        EXPECT_EQ(map.element(1), nullptr);
        EXPECT_EQ(link->getMap(), &map);
    }
    // Still alive: the map did not delete it.
    EXPECT_STREQ(link->url(), "a.htm");
    delete link;
}

TEST(HTMLAnchorTest, AnchorHoldsItsImage) {
    CHTMLAnchor anchor(Make(HTML_A, {{"href", "x"}}));
    EXPECT_EQ(anchor.getImage(), nullptr);
    CHTMLObjectDirect image(Make(HTML_IMG, {{"src", "y"}}));
    anchor.setImage(&image);
    EXPECT_EQ(anchor.getImage(), &image);
}

TEST(HTMLPageTest, FacadeWithoutScannerKeepsNoTree) {
    CHTMLPage page(nullptr);
    EXPECT_EQ(page.root(), nullptr);
    EXPECT_EQ(page.getSibling(nullptr, CHTMLPage::SIBLING_NEXT), nullptr);
    int data = 0;
    page.setData(nullptr, &data);
    EXPECT_EQ(page.getData(nullptr), nullptr);
    EXPECT_EQ(page.nMaps(), 0);
    EXPECT_EQ(page.map(0), nullptr);
    EXPECT_EQ(page.nForms(), 0);
    EXPECT_EQ(page.title(), nullptr);
}

}  // namespace
