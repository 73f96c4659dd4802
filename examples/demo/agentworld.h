#pragma once

#include "common/container/vector.h"
#include "common/library.h"
#include "common/math/rand.h"
#include "common/math/vec2.h"
#include "common/string.h"

#include <cmath>
#include <string>

/// A small world that changes by itself: agents walk about on a square field, from one place to the next. Walking makes
/// them tired, and whoever is tired rests for a while.
class AgentWorld {
public:
    using Position = Tarq::Common::Math::Vec2f;

    struct Agent {
        Tarq::Common::String name;
        Position position;
        Position target;                 ///< where it is going
        float speed = 0;                 ///< in metres a second; the faster, the sooner tired
        float energy = 1;                ///< from 0 to 1
        Tarq::Common::uint32 visits = 0; ///< places that it has reached
        bool isResting = false;
    };
    using Agents = Tarq::Common::Container::Vector<Agent>;

    /// Hears of what agents do.
    class Observer {
    public:
        /// The agent has made a step, or has rested.
        virtual void onStepped(Tarq::Common::uint32 agent) = 0;
        /// It has reached the place where it was going, and has chosen the next.
        virtual void onArrived(Tarq::Common::uint32 agent) = 0;

    protected:
        ~Observer() = default;
    };

    /// The edge of the field, in metres.
    static constexpr float cEdge = 100;

    /// The same seed makes the same world, and the same course of it.
    AgentWorld(Tarq::Common::uint32 agentCount, Tarq::Common::uint32 seed)
        : mAgents(Tarq::Common::Library::getTempAlloc()) {
        using Tarq::Common::Math::Rand;
        Rand::setSeed(seed);
        for (Tarq::Common::uint32 number = 0; number < agentCount; ++number) {
            Agent agent;
            agent.name = nameOf(number);
            agent.position = somewhere();
            agent.target = somewhere();
            agent.speed = Rand::getRandFloat(1, 6);
            mAgents.push_back(agent);
        }
    }

    void step(float seconds, Observer& observer) {
        for (Tarq::Common::uint32 number = 0; number < mAgents.size(); ++number) {
            if (step(mAgents[number], seconds))
                observer.onArrived(number);
            observer.onStepped(number);
        }
    }

    const Agents& getAgents() const { return mAgents; }
    /// They stay where they are as long as the world is there.
    Agents& getAgents() { return mAgents; }

private:
    static Tarq::Common::String nameOf(Tarq::Common::uint32 number) {
        static constexpr const char* cNames[] = {"ann", "bob", "cid", "dot", "eve", "fay", "gus", "hal"};
        constexpr Tarq::Common::uint32 cCount = sizeof(cNames) / sizeof(cNames[0]);
        const std::string suffix = number < cCount ? "" : std::to_string(number / cCount + 1);
        return (cNames[number % cCount] + suffix).c_str();
    }
    static Position somewhere() {
        using Tarq::Common::Math::Rand;
        const float x = Rand::getRandFloat(0, cEdge);
        return {x, Rand::getRandFloat(0, cEdge)};
    }

    /// Returns whether the agent has arrived.
    static bool step(Agent& agent, float seconds) {
        agent.energy += seconds * (agent.isResting ? 0.2f : -0.01f * agent.speed);
        if (agent.energy <= 0)
            agent.isResting = true;
        else if (agent.energy >= 1)
            agent.isResting = false;
        if (agent.isResting)
            return false;
        const Position way = agent.target - agent.position;
        const float length = std::sqrt(Tarq::Common::Math::dot(way, way));
        const float stride = agent.speed * seconds;
        if (length > stride) {
            agent.position += way * (stride / length);
            return false;
        }
        agent.position = agent.target;
        agent.target = somewhere();
        ++agent.visits;
        return true;
    }

    Agents mAgents;
};
