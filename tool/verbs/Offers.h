// What is offered for a word while it is typed. The single answers ":file" and ":directory" leave it to the command shell to
// offer such names.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Offers {

/// Every name of every item.
Words items(std::string const& word);

/// ITEM= of every item, and behind it the item's legal values where there are few enough to choose from.
Words assignments(std::string const& word);

Words files(std::string const& word);
Words directories(std::string const& word);

/// Always the same words.
Offer words(Words const& fixed);

} // namespace Tool::Offers
