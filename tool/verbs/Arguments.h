// Arguments that several verbs take, and what is offered for a word while it is typed. The single answers ":file" and ":directory"
// leave it to the command shell to offer such names.
#pragma once

#include "verbs/Verb.h"

#include "Data/DataTypes.h"

#include <string>

namespace Tool::Offers {

/// Every name of every item.
Words items(std::string const& word);

/// These words, too.
Offer itemsAnd(Words const& fixed);

/// ITEM= of every item, and behind it the item's legal values where there are few enough to choose from.
Words assignments(std::string const& word);

Words files(std::string const& word);
Words directories(std::string const& word);

/// Always the same words.
Offer words(Words const& fixed);

} // namespace Tool::Offers

namespace Tool::Arguments {

/// ITEM: one, or as many as the target holds.
Argument items(Target target, std::string help = "Names, or tag numbers");

/// PATTERN: what matchItems() takes; all items without it.
Argument pattern(std::string* target);

/// --dry-run, and --atomic; the help is the whole sentence.
Argument dryRun(Target target, std::string help = "Show what would change and write nothing");
Argument atomic(Target target, std::string help);

/// --yes, in the place of the question whether texts are to be wiped.
Argument yes(Target target);

/// --ready-fd
Argument readyDescriptor(Lasting& lasting);

/// ITEM=VALUE, as many as there are.
Argument assignments(Words* target, std::string help);

} // namespace Tool::Arguments

namespace Tool {

/// A verb about one item, which it finds or says that there is none.
Verb itemVerb(std::string name, std::string help, Report (*run)(Workbench& workbench, Data::eDataTag tag));

} // namespace Tool
