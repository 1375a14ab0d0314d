#pragma once

namespace KVTest
{
/// Whether tests may change what all programs of the user, or all users, see: in a Wine prefix that scripts/wine has
/// made, or on Windows in the account that the environment variable KV_TEST_ACCOUNT names.
bool IsComputerOfTheTests();
} // namespace KVTest
