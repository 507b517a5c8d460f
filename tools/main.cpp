// `quarnet`: the SDK's calls on the command line.

#include "tools/Program.h"

int main(int argc, char** argv) {
  return quarnet::tools::Program(argv).run(argc);
}
