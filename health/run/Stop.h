// The wish that something ends before its time, such as a run that is interrupted. Any thread may wait
// for it, with what else it waits for.
#pragma once

namespace zelhealth {

class Stop {
public:
    // A second, stronger wish may stand behind this one: once that is made, this one is too, and what
    // is ended because of it is killed without a chance to end by itself. It must live as long as this.
    explicit Stop(Stop* stronger = nullptr);
    ~Stop();
    Stop(const Stop&) = delete;
    Stop& operator=(const Stop&) = delete;

    // From any thread, and from a signal handler.
    void Request();

    bool Requested() const;

    // Readable for ever once the wish is made; to be polled, never read.
    int Event() const { return event_; }

    // Waits; true when the wish was made within that time.
    bool WaitFor(int milliseconds) const;

    const Stop* Stronger() const { return stronger_; }

private:
    int event_;
    Stop* stronger_;
    Stop* weaker_ = nullptr;
};

}  // namespace zelhealth
