// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CSharedObjectRef.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <thread>
#include <utility>
#include <vector>

namespace halyard {
namespace {

/// Counts the objects that are alive.
class Counted : public CSharedObject {
public:
    explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }

    CSharedObjectRef<Counted> m_next;

private:
    int& m_alive;
};

class Derived : public Counted {
public:
    using Counted::Counted;
};

class Sibling : public Counted {
public:
    using Counted::Counted;
};

using Ref = CSharedObjectRef<Counted>;
using DerivedRef = CSharedObjectRef<Derived>;

/// Counts the references to one object, from its birth until it goes.
class References : public testing::Test {
protected:
    int m_alive = 0;
    Counted* const m_object = new Counted(m_alive);
    Ref m_ref{m_object};
};

TEST(SharedObject, BelongsToNobodyUntilAReferenceTakesIt) {
    int alive = 0;
    auto* const object = new Counted(alive);
    EXPECT_EQ(object->CountReferences(), 0);
    object->Retain();
    object->Retain();
    object->Release();
    EXPECT_EQ(object->CountReferences(), 1);
    EXPECT_EQ(alive, 1);
    object->Release();
    EXPECT_EQ(alive, 0);
}

TEST_F(References, ToTheObjectAlreadyHeldChangeNothing) {
    const std::pair<const char*, std::function<void()>> assignments[] = {
        {"itself", [this] { m_ref = *&m_ref; }},
        {"its own pointer", [this] { m_ref = m_object; }},
        {"a copy", [this] { m_ref = Ref(m_ref); }},
        {"itself, moved", [this] { m_ref = std::move(*&m_ref); }},
    };
    for (const auto& [name, assign] : assignments) {
        assign();
        EXPECT_EQ(m_object->CountReferences(), 1) << name;
        EXPECT_EQ(m_ref.get(), m_object) << name;
    }
    EXPECT_EQ(m_alive, 1);
}

TEST_F(References, CountEveryCopyAndNoMove) {
    const Ref copy(m_ref);
    EXPECT_EQ(m_object->CountReferences(), 2);
    Ref assigned;
    assigned = copy;
    EXPECT_EQ(m_object->CountReferences(), 3);
    Ref moved(std::move(assigned));
    EXPECT_EQ(assigned, nullptr);
    EXPECT_EQ(m_object->CountReferences(), 3);
    assigned = std::move(moved);
    EXPECT_EQ(moved, nullptr);
    EXPECT_EQ(m_object->CountReferences(), 3);
    m_ref = std::move(assigned);  // both hold the object: one reference less
    EXPECT_EQ(m_object->CountReferences(), 2);
}

TEST_F(References, DestroyTheObjectWithTheLastOne) {
    Ref copy(m_ref);
    m_ref = nullptr;
    EXPECT_EQ(m_alive, 1);
    copy = Ref();
    EXPECT_EQ(m_alive, 0);
    { const Ref scoped(new Counted(m_alive)); }
    EXPECT_EQ(m_alive, 0);
    m_ref = new Counted(m_alive);
    m_ref = new Counted(m_alive);
    EXPECT_EQ(m_alive, 1) << "the first one went";
}

TEST_F(References, MayTakeWhatOnlyTheOldObjectKeptAlive) {
    m_ref->m_next = new Counted(m_alive);
    m_ref->m_next->m_next = new Counted(m_alive);
    Counted* const second = m_ref->m_next.get();
    m_ref = m_ref->m_next;
    EXPECT_EQ(m_ref.get(), second);
    EXPECT_EQ(m_alive, 2);
    m_ref = std::move(m_ref->m_next);
    EXPECT_EQ(m_alive, 1);
    EXPECT_EQ(m_ref->CountReferences(), 1);
}

TEST_F(References, AlreadyShowTheNewStateToTheDestructorOfTheOldObject) {
    class Observer : public Counted {
    public:
        Observer(int& alive, const Ref& holder, bool& sawNull)
            : Counted(alive), m_holder(holder), m_sawNull(sawNull) {}
        ~Observer() override { m_sawNull = m_holder == nullptr; }

    private:
        const Ref& m_holder;
        bool& m_sawNull;
    };
    bool sawNull = false;
    m_ref = new Observer(m_alive, m_ref, sawNull);
    m_ref = nullptr;
    EXPECT_TRUE(sawNull);
}

TEST_F(References, ServeWhereOneToTheBaseIsAskedFor) {
    const DerivedRef derived(new Derived(m_alive));
    Ref base(derived);
    EXPECT_EQ(base, derived);
    EXPECT_EQ(derived->CountReferences(), 2);
    base = m_ref;
    base = derived;
    EXPECT_EQ(derived->CountReferences(), 2);
    EXPECT_EQ(m_object->CountReferences(), 1);
}

TEST_F(References, CompareByTheObjectsTheyHold) {
    const Ref same(m_ref), other(new Counted(m_alive)), null;
    EXPECT_EQ(m_ref, same);
    EXPECT_NE(m_ref, other);
    EXPECT_NE(m_ref, nullptr);
    EXPECT_EQ(null, nullptr);
    EXPECT_TRUE(m_ref);
    EXPECT_FALSE(null);
    EXPECT_EQ(m_ref < other, std::less<>()(m_ref.get(), other.get()));
    EXPECT_NE(m_ref < other, other < m_ref);

    std::map<Ref, int> map{{m_ref, 1}, {other, 2}, {null, 3}};
    EXPECT_EQ(map.size(), 3u);
    EXPECT_EQ(map[same], 1);
}

TEST_F(References, AreComparedWithABarePointerWithoutTakingIt) {
    auto* const unowned = new Counted(m_alive);
    EXPECT_FALSE(m_ref == unowned);
    EXPECT_TRUE(unowned != m_ref);
    EXPECT_EQ(m_alive, 2);
    EXPECT_EQ(unowned->CountReferences(), 0);
    EXPECT_TRUE(Ref(unowned) == unowned);
}

TEST_F(References, CastToWhatTheObjectIs) {
    const Ref derived(new Derived(m_alive));
    EXPECT_EQ(derived.dynamicCast<Derived>(), derived.get());
    EXPECT_EQ(derived.dynamicCast<Counted>(), derived.get());
    EXPECT_EQ(derived.dynamicCast<Sibling>(), nullptr);
    EXPECT_EQ(m_ref.dynamicCast<Derived>(), nullptr);
    EXPECT_EQ(derived->CountReferences(), 1);
}

TEST(NullReference, RefusesToBeCast) {
    try {
        Ref().dynamicCast<Derived>();
        FAIL() << "nothing was thrown";
    } catch (const CException& exception) {
        EXPECT_EQ(exception.getType(), kParameterError);
        EXPECT_EQ(exception.getMessage(), "mObjectPtr is NULL");
    }
}

TEST(NullReferenceDeathTest, EndsTheProcessWhenDereferenced) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);
    const Ref null;
    EXPECT_DEATH(null->CountReferences(), "^MarlCore: a null shared reference was dereferenced\n");
    EXPECT_DEATH((*null).CountReferences(), "null shared reference");
}

/// Each thread writes its slot through a reference of its own, and the destructor reads them all, whichever
/// thread runs it: the count must order the writes before it.
class Slots : public CSharedObject {
public:
    explicit Slots(long& sum) : m_sum(sum) {}
    ~Slots() override {
        for (long slot : m_slots) m_sum += slot;
    }
    std::array<long, 4> m_slots{};

private:
    long& m_sum;
};

TEST(SharedObject, IsCountedByManyThreadsAtOnce) {
    constexpr long kRounds = 20000;
    long sum = 0;
    {
        CSharedObjectRef<Slots> first(new Slots(sum));
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < first->m_slots.size(); ++i) {
            threads.emplace_back([ref = first, i] {
                for (long round = 0; round < kRounds; ++round) {
                    const CSharedObjectRef<Slots> copy(ref);
                    ++copy->m_slots[i];
                }
            });
        }
        first = nullptr;  // the object goes with the last thread
    }
    EXPECT_EQ(sum, 4 * kRounds);
}

}  // namespace
}  // namespace halyard
