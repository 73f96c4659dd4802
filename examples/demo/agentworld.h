#pragma once

#include "common/container/vector.h"
#include "common/library.h"
#include "common/math/rand.h"
#include "common/math/vec2.h"
#include "common/string.h"
#include "common/threading/mutex.h"

#include <cmath>
#include <string>

/// A small world that changes by itself: agents walk about on a square field, from one place to the next. Walking makes
/// them tired, and whoever is tired rests for a while.
class AgentWorld {
public:
    using Position = Tarq::Common::Math::Vec2f;
    using Route = Tarq::Common::Container::Vector<Position>;

    struct Agent {
        Tarq::Common::String name;
        Position position;
        Position target;                 ///< where it is going
        float speed = 0;                 ///< in metres a second; the faster, the sooner tired
        float energy = 1;                ///< from 0 to 1
        Tarq::Common::uint32 visits = 0; ///< places that it has reached
        bool isResting = false;
        Route route{Tarq::Common::Library::getTempAlloc()}; ///< where it is going after that, the last place first
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
            if (stepOne(mAgents[number], seconds))
                observer.onArrived(number);
            observer.onStepped(number);
        }
    }

    /// Has an agent go from place to place, the last one of the route first. False when there is none of that name.
    /// Any thread.
    bool follow(const Tarq::Common::String& name, const Route& route) {
        const Lock inside(mMutex);
        for (Agent& agent : mAgents) {
            if (agent.name != name)
                continue;
            agent.route = route;
            turn(agent);
            return true;
        }
        return false;
    }

    const Agents& getAgents() const { return mAgents; }
    /// They stay where they are as long as the world is there.
    Agents& getAgents() { return mAgents; }

private:
    using Lock = Tarq::Common::Threading::ScopedLock<Tarq::Common::Threading::Mutex>;

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

    /// Chooses the next place.
    static void turn(Agent& agent) {
        if (agent.route.empty()) {
            agent.target = somewhere();
            return;
        }
        agent.target = agent.route.back();
        agent.route.pop_back();
    }

    /// Returns whether the agent has arrived. Whoever hears of that may be held, and is not in the way of others.
    bool stepOne(Agent& agent, float seconds) {
        const Lock inside(mMutex);
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
        turn(agent);
        ++agent.visits;
        return true;
    }

    Agents mAgents;
    Tarq::Common::Threading::Mutex mMutex; ///< guards where they are going
};
