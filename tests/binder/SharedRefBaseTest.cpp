// Objects owned by shared pointers: made only by make, destroyed only by their last owner.
#include <android/binder_interface_utils.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

class Counted : public ndk::SharedRefBase {
  public:
    explicit Counted(int* destroyed) : destroyed_(destroyed) {}
    ~Counted() override { ++*destroyed_; }

  private:
    int* destroyed_;
};

TEST(SharedRefBaseTest, MadeObjectsShareOneOwnership) {
    int destroyed = 0;
    std::shared_ptr<Counted> made = ndk::SharedRefBase::make<Counted>(&destroyed);
    std::shared_ptr<Counted> again = made->ref<Counted>();
    EXPECT_EQ(again, made);
    EXPECT_EQ(made.use_count(), 2);
    made.reset();
    EXPECT_EQ(destroyed, 0);
    again.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(SharedRefBaseDeathTest, OtherOwnershipAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    int destroyed = 0;
    EXPECT_DEATH({ Counted on_stack(&destroyed); }, "destroyed without its owning shared pointer");
    EXPECT_DEATH({ std::make_shared<Counted>(&destroyed); },
                 "destroyed without its owning shared pointer");
    EXPECT_DEATH(
            {
                Counted on_stack(&destroyed);
                on_stack.ref();
            },
            "ref\\(\\) of an object not created by make");
}

}  // namespace
