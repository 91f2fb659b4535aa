#include "CSemaphoreHelper.h"

#include "LinkFixture.h"

#include <gtest/gtest.h>

namespace {

class CSemaphoreHelperTest : public testing::Test {
protected:
    ~CSemaphoreHelperTest() override
    {
        for (sem_t *handle : _opened)
            _helper.DestroySemaphore(handle);
        _helper.ClearSemaphore(_name.c_str());
    }

    sem_t *Create(unsigned initial)
    {
        _opened.push_back(_helper.CreateSemaphore(_name.c_str(), initial));
        return _opened.back();
    }

    const std::string _name = SemaphoreName(UniqueName(), 16);
    std::vector<sem_t *> _opened;
    CSemaphoreHelper _helper;
};

TEST_F(CSemaphoreHelperTest, CreateSemaphoreMakesOneWithTheInitialCount)
{
    sem_t *semaphore = Create(1);
    ASSERT_NE(semaphore, SEM_FAILED);
    EXPECT_TRUE(_helper.TryWaitSemaphore(semaphore));
    EXPECT_FALSE(_helper.TryWaitSemaphore(semaphore));
}

TEST_F(CSemaphoreHelperTest, CreateSemaphoreOpensOneThatIsThere)
{
    sem_t *first = Create(0);
    sem_t *second = Create(5);
    _helper.SignalSemaphore(first);
    EXPECT_TRUE(_helper.TryWaitSemaphore(second));
    EXPECT_FALSE(_helper.TryWaitSemaphore(second));
}

TEST_F(CSemaphoreHelperTest, CreateSemaphoreReturnsSemFailedAsItIs)
{
    EXPECT_EQ(_helper.CreateSemaphore("a/b", 0), SEM_FAILED);
}

TEST_F(CSemaphoreHelperTest, OpenSemaphoreOpensOnlyAnExistingOne)
{
    EXPECT_EQ(_helper.OpenSemaphore(_name.c_str()), SEM_FAILED);
    sem_t *made = Create(1);
    ASSERT_NE(made, SEM_FAILED);
    sem_t *opened = _helper.OpenSemaphore(_name.c_str());
    ASSERT_NE(opened, SEM_FAILED);
    _opened.push_back(opened);
    EXPECT_TRUE(_helper.TryWaitSemaphore(opened));
}

TEST_F(CSemaphoreHelperTest, DestroySemaphoreClosesTheHandleAndKeepsTheName)
{
    sem_t *semaphore = _helper.CreateSemaphore(_name.c_str(), 0);
    ASSERT_NE(semaphore, SEM_FAILED);
    EXPECT_TRUE(_helper.DestroySemaphore(semaphore));
    EXPECT_TRUE(SemaphoreExists(_name));
}

TEST_F(CSemaphoreHelperTest, SignalSemaphoreLetsAWaiterThrough)
{
    sem_t *semaphore = Create(0);
    EXPECT_EQ(_helper.SignalSemaphore(semaphore), 0);
    EXPECT_EQ(_helper.WaitSemaphore(semaphore), 0);
    EXPECT_FALSE(_helper.TryWaitSemaphore(semaphore));
}

TEST_F(CSemaphoreHelperTest, TryWaitSemaphoreOnACountOfZeroReturnsFalseAtOnce)
{
    EXPECT_FALSE(_helper.TryWaitSemaphore(Create(0)));
}

TEST_F(CSemaphoreHelperTest, ClearSemaphoreRemovesTheNameOnce)
{
    Create(0);
    EXPECT_TRUE(_helper.ClearSemaphore(_name.c_str()));
    EXPECT_FALSE(SemaphoreExists(_name));
    EXPECT_FALSE(_helper.ClearSemaphore(_name.c_str()));
}

}  // namespace
