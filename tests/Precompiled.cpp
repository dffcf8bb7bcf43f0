// Home of the precompiled GoogleTest header that all test programs share.
