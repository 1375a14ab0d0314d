#include "logging/line/ErrorText.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cwchar>

namespace
{
using namespace KVLogging;

constexpr std::uint32_t kUnknownCode = 0x2FFF1234;

// What the system says, with its line end.
std::wstring SystemText(DWORD code)
{
    wchar_t text[512] = {};
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0x400, text, 512, nullptr);
    return std::wstring(text, length);
}

std::wstring WithoutLineEnd(const std::wstring& text)
{
    return text.substr(0, text.size() - 2);
}

std::uint32_t FormatOwnCode(std::uint32_t errorCode, wchar_t* buffer, std::uint32_t length)
{
    const int written = _snwprintf(buffer, length, L"own text of %u", errorCode);
    return written > 0 ? static_cast<std::uint32_t>(written) : 0;
}

std::uint32_t KnowNothing(std::uint32_t, wchar_t*, std::uint32_t)
{
    return 0;
}

std::uint32_t FillEverything(std::uint32_t, wchar_t* buffer, std::uint32_t length)
{
    std::wmemset(buffer, L'x', length);
    return length;
}

std::uint32_t ClaimTooMuch(std::uint32_t, wchar_t* buffer, std::uint32_t)
{
    buffer[0] = L'y';
    return 100000;
}

TEST(ErrorTextTests, LastErrorIsTheCode_SystemTextWithoutItsLineEnd)
{
    ASSERT_NE(SystemText(ERROR_ACCESS_DENIED), L"");
    ScratchBuffer buffer{};
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(ComposeErrorText(ERROR_ACCESS_DENIED, nullptr, buffer),
              L"[Err: 0x00000005] " + WithoutLineEnd(SystemText(ERROR_ACCESS_DENIED)));
}

TEST(ErrorTextTests, LastErrorIsAnother_ItFollowsWithItsCarriageReturn)
{
    ScratchBuffer buffer{};
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    // The blank and the line feed are cut off, the carriage return stays.
    EXPECT_EQ(ComposeErrorText(ERROR_ACCESS_DENIED, nullptr, buffer),
              L"[Err: 0x00000005] " + WithoutLineEnd(SystemText(ERROR_ACCESS_DENIED)) + L", [GLE: 0x00000002] " +
                  WithoutLineEnd(SystemText(ERROR_FILE_NOT_FOUND)) + L"\r");
}

TEST(ErrorTextTests, LastErrorZero_IsLookedUpLikeAnyOther)
{
    ASSERT_NE(SystemText(ERROR_SUCCESS), L"");
    ScratchBuffer buffer{};
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(ComposeErrorText(ERROR_ACCESS_DENIED, nullptr, buffer),
              L"[Err: 0x00000005] " + WithoutLineEnd(SystemText(ERROR_ACCESS_DENIED)) + L", [GLE: 0x00000000] " +
                  WithoutLineEnd(SystemText(ERROR_SUCCESS)) + L"\r");
}

// What a failing look-up of the unknown code leaves as the last error, and how the line tells it.
std::wstring NoteOfFailedLookUp()
{
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(SystemText(kUnknownCode), L"");
    const DWORD failure = ::GetLastError();
    EXPECT_NE(failure, static_cast<DWORD>(ERROR_SUCCESS));
    if (SystemText(failure).empty())
    {
        return std::wstring(); // no text for it either, hence no note
    }
    wchar_t note[64] = {};
    _snwprintf(note, 63, L", [GLE: 0x%08lX] ", failure);
    return note + WithoutLineEnd(SystemText(failure)) + L"\r";
}

TEST(ErrorTextTests, UnknownCode_NumberAndTheFailureOfTheLookUp)
{
    const std::wstring expected = L"[Err: 0x2FFF1234] " + NoteOfFailedLookUp();
    ScratchBuffer buffer{};
    ::SetLastError(kUnknownCode);
    EXPECT_EQ(ComposeErrorText(kUnknownCode, nullptr, buffer), expected);
    // Whatever the last error was before.
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(ComposeErrorText(kUnknownCode, nullptr, buffer), expected);
}

TEST(ErrorTextTests, KnownCodeAndUnknownLastError_CodeAlone)
{
    ScratchBuffer buffer{};
    ::SetLastError(kUnknownCode);
    EXPECT_EQ(ComposeErrorText(ERROR_ACCESS_DENIED, nullptr, buffer),
              L"[Err: 0x00000005] " + WithoutLineEnd(SystemText(ERROR_ACCESS_DENIED)));
}

TEST(ErrorTextTests, Formatter_ItsTextReplacesTheSystems)
{
    ScratchBuffer buffer{};
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ComposeErrorText(5, &FormatOwnCode, buffer), L"[Err: 0x00000005] own text of 5");
}

TEST(ErrorTextTests, FormatterWithoutText_TheSystemIsAsked)
{
    ScratchBuffer buffer{};
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(ComposeErrorText(ERROR_ACCESS_DENIED, &KnowNothing, buffer),
              L"[Err: 0x00000005] " + WithoutLineEnd(SystemText(ERROR_ACCESS_DENIED)));
}

TEST(ErrorTextTests, FormatterThatFillsItsRoom_StaysWithinTheBuffer)
{
    constexpr std::size_t kNumberLength = 18; // "[Err: 0x00000005] "
    ScratchBuffer buffer{};
    EXPECT_EQ(ComposeErrorText(5, &FillEverything, buffer),
              L"[Err: 0x00000005] " + std::wstring(kScratchLength - kNumberLength, L'x'));
}

TEST(ErrorTextTests, FormatterThatClaimsTooMuch_IsHeldToItsRoom)
{
    ScratchBuffer buffer{};
    const std::wstring text = ComposeErrorText(5, &ClaimTooMuch, buffer);
    EXPECT_EQ(text.size(), kScratchLength);
    EXPECT_EQ(text.substr(0, 19), L"[Err: 0x00000005] y");
}
} // namespace
