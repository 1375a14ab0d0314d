"""Where programs run in tests: in Wine prefixes, or on Windows in an account of the tests' own."""

import os


def make_pool(work):
    """What tests take a prefix from and give it back to; work is a folder of theirs."""
    if os.name == "nt":
        from kvtest.native_account import AccountPool  # of Windows only
        return AccountPool(work)
    from kvtest.wine_prefix import PrefixPool
    return PrefixPool(work)
