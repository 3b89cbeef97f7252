// mediadata: the workbench for the settings of a telephone's media process.
#include "cli/Program.h"

int main(int count, char** words)
{
    Tool::Invocation invocation;
    return Tool::runProgram(invocation, count, words);
}
