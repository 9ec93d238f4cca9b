#pragma once

#include <functional>

class MessagePresenter;

// The side menu's sign-out, with no confirmation step. Signed out already: the
// "No User Logged In" message and the "Sign Out Failed" one, asked for as a pair.
// Otherwise the sign-in is dropped (which can't fail) and "Sign Out" follows.
// `revoked` runs once the service has heard of it, or at once when nobody was
// signed in.
void signOutOfDropbox(MessagePresenter& presenter, std::function<void()> revoked = {});
// The same, with "No User Logged In" told by `window` (the window's first
// screen, in the application) and every other message by `presenter`.
void signOutOfDropbox(MessagePresenter& window, MessagePresenter& presenter,
                      std::function<void()> revoked = {});
