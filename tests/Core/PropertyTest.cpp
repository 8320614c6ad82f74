#include "Core/Property.h"
#include "Core/CoreExceptions.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

using namespace Tarsel;
using Core::Property;
using Core::PropertyTypes;
using testing::ElementsAre;

namespace {

Property MakeTree() {
    Property tree("tree");
    tree.CreateChildT("text", std::string("blue"));
    tree.CreateChildT("count", std::int64_t{-7});
    tree.CreateChildT("ratio", Ratio{30000, 1001});
    tree.AddChild(Property("sub")).CreateChildT("flag", true);
    return tree;
}

TEST(Property, SetChildReplacesAndCreateChildAppends) {
    Property tree = MakeTree();
    Property& set = tree.SetChildT("count", std::string("many"));
    EXPECT_EQ(&set, tree.FindChild("count"));
    EXPECT_EQ(set.GetString(), "many");
    EXPECT_EQ(tree.SetChildT("new", std::int64_t{1}).GetInt64(), 1);
    tree.CreateChildT("text", std::string("second"));
    std::vector<std::string> names;
    for (Property const& child : tree.GetChildren())
        names.push_back(child.GetName());
    EXPECT_THAT(names, ElementsAre("text", "count", "ratio", "sub", "new", "text"));
    EXPECT_EQ(tree["text"].GetString(), "blue"); // the first is found
    EXPECT_TRUE(tree.RemoveChild("text"));
    EXPECT_EQ(tree["text"].GetString(), "second");
    EXPECT_FALSE(tree.RemoveChild("absent"));
}

TEST(Property, CopiesAreIndependent) {
    Property const original = MakeTree();
    Property copy = original;
    EXPECT_EQ(copy, original);
    EXPECT_EQ(copy["count"].GetDouble(), -7.0);
    EXPECT_EQ(copy["ratio"].GetRatio(), (Ratio{30000, 1001}));
    EXPECT_EQ(Property("a", "b").GetType(), PropertyTypes::String); // a literal is no flag
    copy.FindChild("sub")->SetChildT("flag", false);
    EXPECT_NE(copy, original);
    EXPECT_TRUE(original["sub"]["flag"].GetBool());

    copy = 2.5; // a container loses its children and keeps its name
    EXPECT_EQ(copy, Property("tree", 2.5));
    EXPECT_FALSE(copy.ChildExists("sub"));
    EXPECT_FALSE(copy.RemoveChild("sub"));
}

TEST(Property, ReportsWhatDoesNotApply) {
    Property const text("name", "text");
    struct {
        char const* method;
        Property property;
        void (*call)(Property&);
    } const cases[] = {
        {"SetChildT", text, [](Property& p) { p.SetChildT("a", std::int64_t{1}); }},
        {"CreateChildT", text, [](Property& p) { p.CreateChildT("a", std::string()); }},
        {"AddChild", text, [](Property& p) { p.AddChild(Property("a")); }},
        {"GetChildren", text, [](Property& p) { (void)p.GetChildren(); }},
        {"operator[]", text, [](Property& p) { (void)p["a"]; }},
        {"GetInt64", text, [](Property& p) { (void)p.GetInt64(); }},
        {"GetDouble", text, [](Property& p) { (void)p.GetDouble(); }},
        {"GetBool", Property("name", std::int64_t{1}), [](Property& p) { (void)p.GetBool(); }},
        {"GetRatio", Property("name", 1.0), [](Property& p) { (void)p.GetRatio(); }},
        {"GetInt64", Property("name", 1.0), [](Property& p) { (void)p.GetInt64(); }},
        {"GetString", Property("name"), [](Property& p) { (void)p.GetString(); }},
        {"PropertyValueToString", Property("name"), [](Property& p) { (void)PropertyValueToString(p); }},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.method);
        Property property = each.property;
        try {
            each.call(property);
            ADD_FAILURE() << "nothing thrown";
        } catch (Core::MethodIsNotApplicable const& exception) {
            EXPECT_EQ(exception.what(), std::string(each.method) +
                                            " is not applicable to property \"name\" of type " +
                                            GetName(each.property.GetType()));
        }
        EXPECT_EQ(property, each.property);
    }
}

TEST(Property, NamesTheMissingChild) {
    try {
        (void)MakeTree()["absent"];
        FAIL();
    } catch (Core::PropertyException const& exception) {
        EXPECT_EQ(dynamic_cast<Core::MethodIsNotApplicable const*>(&exception), nullptr);
        EXPECT_STREQ(exception.what(), "Property \"tree\" has no child \"absent\"");
    }
}

} // namespace
