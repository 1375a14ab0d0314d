#include "ga_client/http/CollectionHost.h"

#include <gtest/gtest.h>

#include <string>

// The default; a build with a different host defines it and is compared with that.
TEST(CollectionHostTests, Host_IsTheOneThatTheBuildNames)
{
    EXPECT_STREQ(Http::kCollectionHost, KV_TEST_COLLECTION_HOST);
}

TEST(CollectionHostTests, Host_IsABareName)
{
    EXPECT_EQ(std::wstring(Http::kCollectionHost).find_first_of(L":/ "), std::wstring::npos);
    EXPECT_NE(Http::kCollectionHost[0], L'\0');
}
