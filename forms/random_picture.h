#pragma once
// A random picture of the images folder, fitted into an area of a form, and the messages that
// report a picture that cannot be shown.
#include <string>

namespace bm {

class Game;
class Image;
class RuntimeError;

// Loads a random picture of the table's picture list into `image` and fits it to the area with
// left edge `left` and width `width` (logical pixels). Raises the picture errors (53, 76, 481, ...)
// for the calling form to handle.
void ShowRandomPicture(Game& game, Image& image, double left, double width);

// The error handling of a form that shows a random picture, by error number: 481 shows the
// five-line "Missing File" message and returns true (the form goes on without the picture); 76
// returns false silently (the opening stops); anything else shows the "Missing Directory" message
// and ends the program.
bool handlePictureError(Game& game, const RuntimeError& error);

// The shared messages.
void showMissingPictureMessage(Game& game, const std::string& fileName);
[[noreturn]] void showMissingDirectoryAndEnd(Game& game);

}  // namespace bm
