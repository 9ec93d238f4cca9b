#pragma once

#include <memory>

// The store's "rate this app" prompt. There is no store to ask here, so the
// application's prompt does nothing; tests put a recording one in its place.
class ReviewPrompt {
public:
    virtual ~ReviewPrompt() = default;
    virtual void requestReview() = 0;

    static ReviewPrompt& current();
    // Takes the place of the current prompt; null restores the silent one.
    static void setCurrent(std::shared_ptr<ReviewPrompt> prompt);
};
