/* A library that has nothing: what loading it costs is the cost of loading any. */
typedef int nothing;
