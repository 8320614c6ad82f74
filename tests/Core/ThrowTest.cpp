#include "Core/Throw.h"
#include "Core/CoreExceptions.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>
#include <tuple>
#include <typeinfo>

using namespace Tarsel;

namespace {

using TagNumber = boost::error_info<struct TagNumberId, int>;

template <class E>
class Throw : public testing::Test {
public:
    static constexpr int line = __LINE__ + 2;
    [[gnu::noinline]] static void Fail() {
        Core::Throw<E>({"Room/Source", "void Room::Fail()"}, "it does not work", TagNumber(42));
    }
};

using Thrown = testing::Types<Exception, Core::MemoryException, Core::MethodIsNotApplicable, std::logic_error,
                              std::out_of_range>;
TYPED_TEST_SUITE(Throw, Thrown);

template <class Tag>
typename Tag::value_type Get(std::exception const& exception) {
    auto const* value = boost::get_error_info<Tag>(exception);
    if (value == nullptr)
        throw std::runtime_error(std::string("no ") + typeid(Tag).name());
    return *value;
}

TYPED_TEST(Throw, CarriesEverythingToACatchByAnyBase) {
    EXPECT_THROW(this->Fail(), TypeParam);
    EXPECT_THROW(this->Fail(), boost::exception);
    std::exception_ptr kept;
    try {
        this->Fail();
    } catch (...) {
        kept = std::current_exception();
    }
    try {
        std::rethrow_exception(kept);
    } catch (std::exception const& exception) {
        EXPECT_STREQ(exception.what(), "it does not work");
        EXPECT_EQ(Get<TagDescription>(exception), "it does not work");
        EXPECT_EQ(Get<TagNumber>(exception), 42);
        EXPECT_STREQ(Get<boost::throw_file>(exception), "Room/Source");
        EXPECT_STREQ(Get<boost::throw_function>(exception), "void Room::Fail()");
        EXPECT_EQ(Get<boost::throw_line>(exception), this->line);
        EXPECT_GT(Get<TagThrowColumn>(exception), 1U);
        // The throwing function comes first: the machinery of throwing is left out.
        EXPECT_THAT(Get<TagCallStack>(exception).GetFunctionNames().front(), testing::HasSubstr("::Fail()"));
    }
}

constexpr int s_lineOfAsked = __LINE__ + 2;
void FailAsked() {
    Core::Throw<Exception>(Core::Site::Here(), "asked", TagNumber(1));
}
void FailUnasked() {
    Core::Throw<Exception>(std::string("unasked"), TagNumber(1));
}

TEST(ThrowSite, FindsItsPlaceByItself) {
    for (auto const& [work, name, line] : {std::tuple{&FailAsked, "FailAsked", s_lineOfAsked},
                                           {&FailUnasked, "FailUnasked", s_lineOfAsked + 3}}) {
        try {
            work();
            FAIL();
        } catch (Exception const& exception) {
            EXPECT_THAT(Get<boost::throw_file>(exception), testing::EndsWith("tests/Core/ThrowTest"));
            EXPECT_THAT(Get<boost::throw_function>(exception), testing::HasSubstr(name));
            EXPECT_EQ(Get<boost::throw_line>(exception), line);
            EXPECT_EQ(Get<TagNumber>(exception), 1);
        }
    }
}

TEST(Exception, SurvivesItsThrowSiteAndTellsItsTypeWithoutADescription) {
    Core::MemoryException exception;
    EXPECT_STREQ(exception.what(), typeid(Core::MemoryException).name());
    exception << TagDescription("now there is one");
    Core::MemoryException const copy = exception;
    EXPECT_STREQ(copy.what(), "now there is one");
}

} // namespace
