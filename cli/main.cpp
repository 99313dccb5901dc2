#include "cli/Commands.h"

int main(int argumentCount, char** arguments) {
  return tessline::cli::runCommandLine(argumentCount, arguments);
}
