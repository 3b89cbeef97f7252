// mediadata-web: the tool with what serves the telephone's page. It takes the words of `mediadata web`.
#include "cli/Program.h"
#include "web/Serve.h"

int main(int count, char** words)
{
    Tool::Invocation invocation;
    invocation.page = Tool::Web::serve;
    return Tool::runProgram(invocation, count, words);
}
