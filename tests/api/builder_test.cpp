// The factory of information builders and their base class.
#include "api/builder_type_factory.h"
#include "api/error_state.h"
#include "controller/controller_builder.h"
#include "memory_faults.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::LogLines;
using vesktest::TracedHost;

// A builder that overrides what it must.
class LeastBuilder : public IBuilder {
public:
    explicit LeastBuilder(bool& destroyed) : m_destroyed(destroyed) {}
    ~LeastBuilder() override { m_destroyed = true; }
    VOID_ buidInfo(int) override {}
    IObject* getObject() override { return nullptr; }

private:
    bool& m_destroyed;
};

class FailedBuilder : public ::testing::TestWithParam<std::size_t> {};

}  // namespace

TEST(BuilderFactory, MakesAControllerBuilderForCommandThree) {
    const std::unique_ptr<IBuilder> builder(BuilderTypeFactory::getBuilder(3));
    ASSERT_NE(builder, nullptr);
    EXPECT_NE(dynamic_cast<CControllerBuilder*>(builder.get()), nullptr);
    EXPECT_NE(builder->getObject(), nullptr);
}

TEST(BuilderFactory, MakesANewBuilderEachTime) {
    const std::unique_ptr<IBuilder> first(BuilderTypeFactory::getBuilder(3));
    const std::unique_ptr<IBuilder> second(BuilderTypeFactory::getBuilder(3));
    EXPECT_NE(first, second);
}

TEST(BuilderFactory, OtherCommandsHaveNoneAndThatIsNoError) {
    VeskNVMeLibrary_Error::setErrorCode(19);
    for (const int id : {0, 1, 2, 4, 14, 15, 17, 259, 65535}) {
        EXPECT_EQ(BuilderTypeFactory::getBuilder(static_cast<USHORT_INT>(id)), nullptr) << id;
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 19);
}

TEST(BuilderFactory, IsTraced) {
    TracedHost logging;
    BuilderTypeFactory::getBuilder(0);
    EXPECT_EQ(logging.lines(), (LogLines{"BuilderTypeFactory::getBuilder() ENTRY ",
                                         "BuilderTypeFactory::getBuilder() EXIT "}));
}

// The builder itself, and what its constructor allocates.
INSTANTIATE_TEST_SUITE_P(BuilderFactory, FailedBuilder,
                         ::testing::Values(sizeof(CControllerBuilder), sizeof(CController)));

TEST_P(FailedBuilder, IsNullAndAFailureInTheErrorState) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost logging;
    IBuilder* builder = nullptr;
    {
        const vesktest::FailNew fail(AllocationSize::exactly(GetParam()));
        builder = BuilderTypeFactory::getBuilder(3);
        ASSERT_TRUE(fail.triggered());
    }
    EXPECT_EQ(builder, nullptr);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(
        vesktest::inOrder(logging.lines(), {"BuilderTypeFactory::getBuilder() ENTRY ",
                                            "std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL ",
                                            "BuilderTypeFactory::getBuilder() EXIT "}));
    EXPECT_EQ(logging.lines().back(), "BuilderTypeFactory::getBuilder() EXIT ");
}

TEST(BuilderBase, OptionalOperationsDoNothing) {
    TracedHost logging;
    bool destroyed = false;
    const std::unique_ptr<IBuilder> builder = std::make_unique<LeastBuilder>(destroyed);
    std::vector<IObject*> objects;
    builder->getObjectVector(objects);
    EXPECT_TRUE(objects.empty());
    unsigned char record[4] = {1, 2, 3, 4};
    builder->getSpecificObject(7, record);
    builder->setSpecificParams(7, record);
    builder->getSpecificObject(7, nullptr);
    builder->setSpecificParams(7, nullptr);
    EXPECT_EQ(record[0] + record[1] * 10 + record[2] * 100 + record[3] * 1000, 4321);
    EXPECT_EQ(logging.lines(), LogLines{});
}

TEST(BuilderBase, IsDeletedThroughItsVirtualDestructor) {
    bool destroyed = false;
    std::unique_ptr<IBuilder> builder = std::make_unique<LeastBuilder>(destroyed);
    EXPECT_FALSE(destroyed);
    builder.reset();
    EXPECT_TRUE(destroyed);
}
