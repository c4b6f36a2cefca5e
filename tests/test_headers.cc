// Empty: the precompiled headers of the tests need a source.
