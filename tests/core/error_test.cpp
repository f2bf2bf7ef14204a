// Error lists as a driver uses them: push a list, let operations fail, read the worded
// messages back, pop the list. Also the parameter marks, the static errors, the mapping of
// operating-system errors and behaviour when memory runs out.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kolib/errors.h"
#include "kolib/kostring.h"
#include "kolib/resource_string.h"
#include "kolib/testing.h"
#include "child_process.h"
#include "test_support.h"

namespace {

// A list pushed on the calling thread for the length of a test.
class Pushed : public ::testing::Test {
protected:
    explicit Pushed(unsigned multiple = 1) : List(nullptr, multiple) { List.pushOnErrorKeeper(); }
    ~Pushed() override { List.popOffErrorKeeper(); }
    std::string lastText() { return KoErrorKeeper::getLastError()->getErrorText(); }
    KoErrorList List;
};

class SingleErrorList : public Pushed {
protected:
    SingleErrorList() : Pushed(0) {}
};
using MultiErrorList = Pushed;

std::string replaceAll(std::string text, const std::string& mark, const std::string& value) {
    for (size_t at = text.find(mark); at != std::string::npos;
         at = text.find(mark, at + value.size()))
        text.replace(at, mark.size(), value);
    return text;
}

} // namespace

TEST_F(MultiErrorList, CatalogueTextWithParameterInPlace) {
    std::string raw(static_cast<const char*>(KoResourceString(1509)));
    ASSERT_NE(raw, "1509") << "the message catalogue was not found";
    ASSERT_NE(raw.find("%s1"), std::string::npos);

    addError(1509) << "name.ini";
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 1509);
    EXPECT_EQ(lastText(), replaceAll(raw, "%s1", "name.ini"));
    EXPECT_FALSE(KoErrorKeeper::getLastError()->isWarning());

    addWarning(1508) << "other";
    EXPECT_TRUE(KoErrorKeeper::getLastError()->isWarning());
    EXPECT_EQ(List.getCount(), 2u);
    EXPECT_EQ(List.getErrorsMix(), 1);
}

KO_CHILD_SCENARIO(ErrorTextWithoutCatalogue) {
    kotest::PushedList errors;
    addError(1502) << "ignored";
    CHILD_CHECK(errors.lastText() == "1502");
    return 0;
}

TEST_F(MultiErrorList, WithoutTheCatalogueTheTextIsTheNumber) {
    EXPECT_EQ(kotest::runWithoutCatalogue("ErrorTextWithoutCatalogue").Status, 0);
}

TEST_F(SingleErrorList, FirstErrorWinsAndLaterParametersAreDropped) {
    addError(1509, "missing %s1") << "a";
    KoError& second = addError(1508, "denied %s1") << "b";
    EXPECT_TRUE(second.isDummyError());
    EXPECT_EQ(List.getCount(), 1u);
    EXPECT_EQ(lastText(), "missing a");
    EXPECT_STREQ(List.getDummyError()->getErrorText(), ""); // the sink keeps nothing

    // Warnings do not count as an existing error.
    KoErrorKeeper::clearAllErrors();
    addWarning(1501) << "w";
    addError(1509, "missing %s1") << "c";
    EXPECT_EQ(List.getCount(), 2u);
}

TEST_F(MultiErrorList, ParameterMarksBeyondNineAndUnfilledMarks) {
    addError(2000, "%s1-%s2-%sx10-%sx11-%n1-%sx12-%s1") << "a"
                                                        << "b"
                                                        << "c"
                                                        << "d"
                                                        << "e"
                                                        << "f"
                                                        << "g"
                                                        << "h"
                                                        << "i"
                                                        << "j"
                                                        << "k";
    // Texts fill %s1..%s9 and %sx10, %sx11; "%n1" and "%sx12" are never filled.
    EXPECT_EQ(lastText(), "a-b-j-k-%n1-%sx12-a");

    addError(2001, "%n1 of %n2, %s3") << 7 << -2L << "x" << 99ul; // the extra value is ignored
    EXPECT_EQ(lastText(), "7 of -2, x");

    // A value holding its own mark is inserted once per occurrence, never re-scanned.
    addError(2002, "a %s1 b %s1") << "<%s1>";
    EXPECT_EQ(lastText(), "a <%s1> b <%s1>");
}

TEST_F(SingleErrorList, OutOfMemoryStandsForTheLastError) {
    addError(1501, "a warning");
    KoErrorKeeper::setLastErrorType(ERRORTYPE_WARNING);
    KoErrorKeeper::addMemoryError();
    KoError* last = KoErrorKeeper::getLastError();
    EXPECT_TRUE(last->isMemoryError());
    EXPECT_EQ(last->getErrorNumber(), 30190);
    EXPECT_STREQ(last->getErrorText(), "Out Of Memory");
    EXPECT_FALSE(KoErrorKeeper::isExistingError()); // the flag is not counted
    EXPECT_EQ(List.removeLastError(), List.getMemoryError());
    EXPECT_EQ(List.getCount(), 1u); // the warning stays
    EXPECT_TRUE(KoErrorKeeper::isWarningOnly());

    // Without multiple errors a real error is replaced by the memory error.
    addError(1509, "real");
    KoErrorKeeper::addMemoryError();
    EXPECT_EQ(List.getCount(), 1u);
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 30190);
    KoErrorKeeper::clearLastError(); // clears the flag, deletes nothing static
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 1501);
}

TEST_F(MultiErrorList, WalkingMovingAndConcatenating) {
    addError(1, "one");
    addError(2, "two");
    addError(3, "three");
    EXPECT_EQ(List.getFirstNode()->getErrorNumber(), 1);
    EXPECT_EQ(List.getNextNode()->getErrorNumber(), 2);
    EXPECT_EQ(List.getNextNode()->getErrorNumber(), 3);
    EXPECT_EQ(List.getNextNode(), nullptr);
    EXPECT_EQ(List.getNodeAtPos(7), nullptr);

    List.moveLastErrorToPos(5); // past the end: nothing happens
    List.moveLastErrorToPos(0);
    EXPECT_EQ(List.getNodeAtPos(0)->getErrorNumber(), 3);
    EXPECT_EQ(List.getNextNode()->getErrorNumber(), 1);

    List.setWarningAfterPos(0);
    EXPECT_FALSE(List.getNodeAtPos(0)->isWarning());
    EXPECT_TRUE(List.getNodeAtPos(2)->isWarning());
    List.appendTextStartingAtPos("!", 1);

    KoString out;
    EXPECT_EQ(KoErrorKeeper::concatErrors(&out, '|'), 0u);
    EXPECT_STREQ(out.asCStr(), "three|one!|two!");

    KoErrorKeeper::setLastErrorType(ERRORTYPE_ERROR);
    EXPECT_FALSE(KoErrorKeeper::getLastError()->isWarning());
    KoErrorKeeper::appendTextToLastError(" (%s1)");
    *KoErrorKeeper::getLastError() << "appended";
    EXPECT_EQ(lastText(), "two! (appended)");

    KoError* first = List.removeFirstError();
    EXPECT_EQ(first->getErrorNumber(), 3);
    delete first; // the caller owns a removed error
    EXPECT_EQ(List.getCount(), 2u);
}

TEST(ErrorListStack, ListsNestPerThread) {
    KoErrorList outer(reinterpret_cast<void*>(0x10), 1), inner(nullptr, 1);
    EXPECT_EQ(KoErrorKeeper::getErrorList(), nullptr);
    outer.pushOnErrorKeeper();
    inner.pushOnErrorKeeper();
    EXPECT_EQ(inner.NextList, &outer);
    addError(7, "inner");
    EXPECT_EQ(inner.getCount(), 1u);
    EXPECT_EQ(outer.getCount(), 0u);
    EXPECT_EQ(KoErrorKeeper::giveUpErrorList(), &inner);
    EXPECT_EQ(KoErrorKeeper::getOwnerOfList(), reinterpret_cast<void*>(0x10));
    EXPECT_EQ(outer.popOffErrorKeeper(), &outer);
    EXPECT_EQ(KoErrorKeeper::giveUpErrorList(), nullptr);
    // With no list pushed, reporting is harmless.
    EXPECT_TRUE(addError(1509).isDummyError());
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 0);
}

TEST_F(MultiErrorList, OperatingSystemErrors) {
    bosMapError(2, nullptr);
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 1509);
    EXPECT_EQ(lastText(),
              replaceAll(std::string(static_cast<const char*>(KoResourceString(1509))), "%s1", ""));

    bosMapError(13, "/etc/shadow");
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 1508);
    EXPECT_NE(lastText().find("/etc/shadow"), std::string::npos);

    bosMapError(9, "ignored");
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 1507);
    EXPECT_EQ(lastText().find("ignored"), std::string::npos);

    errno = EXDEV;
    bosMapError(99, "f.dat");
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 30041);
    std::string text = lastText();
    EXPECT_NE(text.find(std::strerror(EXDEV)), std::string::npos) << text;
    EXPECT_NE(text.find("f.dat"), std::string::npos) << text;

    errno = EXDEV;
    bosMapError(99, "");
    EXPECT_NE(lastText().find(std::strerror(EXDEV)), std::string::npos);
}

// Walk an allocation failure over every allocation that adding an error makes: each run
// either adds the complete error or hands back the dummy, and nothing leaks.
TEST_F(MultiErrorList, AllocationFailureWhileAdding) {
    long baseline = ramLiveBlocks();
    for (long n = 1; n < 50; ++n) {
        ramFailAfter(n);
        KoError& added = addError(1509, "file %s1 in %s2") << "a.ini"
                                                           << "/home";
        bool failed = added.isDummyError();
        ramFailAfter(0);
        if (!failed) {
            ASSERT_EQ(lastText(), "file a.ini in /home");
            KoErrorKeeper::clearAllErrors();
            EXPECT_EQ(ramLiveBlocks(), baseline);
            break;
        }
        // The report failed: the driver adds the memory error, which allocates nothing.
        KoErrorKeeper::addMemoryError();
        EXPECT_STREQ(KoErrorKeeper::getLastError()->getErrorText(), "Out Of Memory");
        KoErrorKeeper::clearAllErrors();
        EXPECT_EQ(ramLiveBlocks(), baseline) << "after failing allocation " << n;
        ASSERT_LT(n, 49) << "adding an error never succeeded";
    }
}

// A new list has its 16 slots; when they cannot be had it starts empty and grows on demand.
TEST(ErrorListSlots, SixteenUpFrontOrLater) {
    EXPECT_EQ(KoErrorList(nullptr, 1).getSizeOfArray(), 16u);
    ramFailAfter(1);
    KoErrorList list(nullptr, 1);
    ramFailAfter(0);
    EXPECT_EQ(list.getSizeOfArray(), 0u);
    list.pushOnErrorKeeper();
    for (int i = 0; i < 20; ++i) addError(1509, "x");
    EXPECT_EQ(list.getCount(), 20u);
    EXPECT_GE(list.getSizeOfArray(), 20u);
    list.popOffErrorKeeper();
}
