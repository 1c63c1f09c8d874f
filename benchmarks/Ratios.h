// Prints, after the figures, how each of ours compares with its peers in the same run.
//
// A benchmark is named "what/who": those of one "what" are compared, and "quoll" is us. A ratio is
// our time divided by the peer's, so that less than 1 is faster.
#pragma once

namespace Quoll::Benchmarks
{

/// Runs all registered benchmarks with the command line's options; the program's exit code.
int RunAndCompare(int argc, char** argv);

} // namespace Quoll::Benchmarks
