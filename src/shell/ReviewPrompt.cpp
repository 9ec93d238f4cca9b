#include "ReviewPrompt.h"

namespace {

class SilentReviewPrompt final : public ReviewPrompt {
public:
    void requestReview() override {}
};

std::shared_ptr<ReviewPrompt>& slot() {
    static std::shared_ptr<ReviewPrompt> prompt = std::make_shared<SilentReviewPrompt>();
    return prompt;
}

}  // namespace

ReviewPrompt& ReviewPrompt::current() {
    return *slot();
}

void ReviewPrompt::setCurrent(std::shared_ptr<ReviewPrompt> prompt) {
    slot() = prompt ? std::move(prompt) : std::make_shared<SilentReviewPrompt>();
}
