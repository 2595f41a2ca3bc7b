#include <gtest/gtest.h>

#include <cstring>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Nm/Notifications.h"

using Kyr::String;
using Kyr::System::Commons::ArgumentException;
using Kyr::System::Commons::Exception;
using Kyr::System::Commons::SecureStrncpy;
using Kyr::System::Commons::Singleton;
using Kyr::System::Rsc::RscString;

TEST(SecureStrncpyTest, CopiesUpToCapacityMinusOneAndRefusesMoreWithoutTouchingTheDestination) {
    struct Case {
        std::size_t length;
        bool fits;
    };
    for (const Case& c : {Case{0, true}, Case{7, true}, Case{8, false}, Case{20, false}}) {
        char buffer[8];
        std::memcpy(buffer, "keep me", 8);
        const String source(c.length, 'x');
        if (c.fits) {
            SecureStrncpy(buffer, sizeof buffer, source.data(), source.size());
            EXPECT_EQ(String(buffer), source) << c.length;
            continue;
        }
        try {
            SecureStrncpy(buffer, sizeof buffer, source.data(), source.size());
            ADD_FAILURE() << "no exception for length " << c.length;
        } catch (const ArgumentException& error) {
            EXPECT_EQ(error.GetArgumentName(), "arg");
            EXPECT_STREQ(error.what(), "Input string is too long");
            EXPECT_STREQ(buffer, "keep me") << "nothing may be copied on failure";
        }
    }
}

TEST(RscStringTest, HoldsCapacityMinusOneBytesAndComparesByContent) {
    const RscString<64> longest(String(63, 'a'));
    EXPECT_EQ(longest.GetLength(), 63u);
    EXPECT_THROW(RscString<64>(String(64, 'a')), ArgumentException);

    RscString<4> value("abc");
    EXPECT_THROW(value.Assign("abcd"), ArgumentException);
    EXPECT_EQ(value.ToString(), "abc") << "a refused assignment keeps the old text";
    EXPECT_TRUE(RscString<4>().IsEmpty());
    EXPECT_EQ(RscString<4>("ab"), RscString<4>(String("ab")));
    EXPECT_NE(RscString<4>("ab"), RscString<4>("abc"));
}

TEST(RscStringTest, TextStopsAtAnEmbeddedZero) {
    const RscString<8> value(String("ab\0cd", 5));
    EXPECT_EQ(value.ToString(), "ab");
}

namespace {
struct NeverCreated {};
} // namespace

TEST(SingletonTest, MissingInstanceNamesTheFullTypeInTheMessage) {
    try {
        Singleton<Kyr::System::Nm::NotificationManager>::DestroyInstance();
        Singleton<Kyr::System::Nm::NotificationManager>::GetInstance();
        FAIL() << "expected an exception";
    } catch (const Exception& error) {
        EXPECT_EQ(error.GetMessage(), "Singleton instance of type 'Kyr::System::Nm::NotificationManager' was not created yet!");
    }
    EXPECT_EQ(Singleton<NeverCreated>::TryGetInstance(), nullptr);
}

TEST(SingletonTest, CreateSetAndDestroyShareOneSlotPerType) {
    struct Counted {
        explicit Counted(int& alive) : alive(alive) { ++alive; }
        ~Counted() { --alive; }
        int& alive;
    };
    int alive = 0;
    Counted& created = Singleton<Counted>::CreateInstance(alive);
    EXPECT_EQ(&Singleton<Counted>::GetInstance(), &created);
    EXPECT_EQ(alive, 1);

    Counted borrowed(alive); // owned elsewhere: setting it deletes the owned one, destroying forgets it
    Singleton<Counted>::SetInstance(borrowed);
    EXPECT_EQ(alive, 1);
    Singleton<Counted>::DestroyInstance();
    EXPECT_EQ(alive, 1);
    EXPECT_FALSE(Singleton<Counted>::IsCreated());
}
