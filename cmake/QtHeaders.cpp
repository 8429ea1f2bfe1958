// The target that compiles QtHeaders.h needs a source.
