// What a piece of text has to tell, as a colour. Colour is never all: a sign or a word stands by
// it.
#pragma once

#include <string>

namespace veskctl {

enum class Tone { Plain, Faint, Good, Warning, Critical };

// The text in the colour of the tone, if there are colours.
std::string toned(const std::string& text, Tone tone, bool colour);

std::string bold(const std::string& text, bool colour);

// "!" for what wants attention, else a blank.
const char* signOf(Tone tone);

}  // namespace veskctl
