// The exact solver of a round: a depth-first search over (removed set, stack rank, cards turned,
// run) that remembers the value of every position it has met in an open-addressing hash table.
// The castles built follow from the removed set (one for each top-row card taken), so they need
// no place in the key.
#include "solver/solver.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace bm::solver {

namespace {

constexpr int kRanks = 13;
constexpr int kMaxRun = kLayoutCards;  // a run never exceeds the cards of the layout
constexpr uint32_t kLayoutMask = (1u << kLayoutCards) - 1;
constexpr uint32_t kTopRow = 0x1F;

// The cards of the next row down that overlap each layout card; a card is face up once all of
// them are taken. The top row's outer cards (0 and 4) and the row ends rest on one card only.
constexpr std::array<uint32_t, kLayoutCards> makeCovers() {
    std::array<uint32_t, kLayoutCards> c{};
    auto bit = [](int p) { return 1u << p; };
    c[0] = bit(5);
    c[1] = bit(6) | bit(7);
    c[2] = bit(8) | bit(9);
    c[3] = bit(10) | bit(11);
    c[4] = bit(12);
    c[5] = bit(13);
    for (int q = 6; q <= 11; ++q) c[q] = bit(q + 7) | bit(q + 8);
    c[12] = bit(19);
    c[13] = bit(20);
    for (int q = 14; q <= 18; ++q) c[q] = bit(q + 6) | bit(q + 7);
    c[19] = bit(25);
    return c;  // row 4 (20..25) is face up from the deal
}
constexpr std::array<uint32_t, kLayoutCards> kCovers = makeCovers();

uint32_t faceUpMask(uint32_t removed) {
    uint32_t up = 0;
    for (int p = 0; p < kLayoutCards; ++p)
        if (!(removed >> p & 1) && (kCovers[p] & removed) == kCovers[p]) up |= 1u << p;
    return up;
}

// Every removed set that play can produce, numbered, with its face-up cards and the number of
// each set reached by taking one more card. Built once; about 7,300 sets.
struct Layout {
    std::vector<uint32_t> sets;  // ascending
    std::vector<uint32_t> faceUp;
    std::vector<uint8_t> castles;
    std::vector<int16_t> next;  // [set * 26 + p]: the set after taking p, or -1

    Layout() {
        // Layer by layer: the sets of k + 1 cards are those of k cards with one face-up card more.
        std::vector<uint32_t> layer{0};
        while (!layer.empty()) {
            sets.insert(sets.end(), layer.begin(), layer.end());
            std::vector<uint32_t> bigger;
            for (uint32_t s : layer)
                for (uint32_t up = faceUpMask(s); up != 0; up &= up - 1)
                    bigger.push_back(s | (up & -up));
            std::sort(bigger.begin(), bigger.end());
            bigger.erase(std::unique(bigger.begin(), bigger.end()), bigger.end());
            layer.swap(bigger);
        }
        std::sort(sets.begin(), sets.end());
        faceUp.resize(sets.size());
        castles.resize(sets.size());
        next.assign(sets.size() * kLayoutCards, -1);
        for (size_t k = 0; k < sets.size(); ++k) {
            faceUp[k] = faceUpMask(sets[k]);
            castles[k] = static_cast<uint8_t>(std::popcount(sets[k] & kTopRow));
            for (uint32_t up = faceUp[k]; up != 0; up &= up - 1) {
                int p = std::countr_zero(up);
                next[k * kLayoutCards + p] = static_cast<int16_t>(indexOf(sets[k] | 1u << p));
            }
        }
    }

    int indexOf(uint32_t removed) const {
        auto it = std::lower_bound(sets.begin(), sets.end(), removed);
        return it != sets.end() && *it == removed ? static_cast<int>(it - sets.begin()) : -1;
    }
};

const Layout& layout() {
    static const Layout kLayout;
    return kLayout;
}

int rankOf(int value) {
    return value / 4;
}

// The bonus of the n-th castle of a round; the fifth ends the round.
int castleBonus(int n) {
    return 2000 * n;
}

}  // namespace

bool isReachable(uint32_t removed) {
    return (removed & ~kLayoutMask) == 0 && layout().indexOf(removed) >= 0;
}

bool isFaceUp(uint32_t removed, int position) {
    if (position < 0 || position >= kLayoutCards) return false;
    return (faceUpMask(removed) >> position & 1) != 0;
}

bool ranksTouch(int card, int stack) {
    int d = (card - stack + kRanks) % kRanks;
    return d == 1 || d == kRanks - 1;
}

Position Position::deal(const std::array<int16_t, 52>& deck) {
    Position p;
    p.deck = deck;
    p.stackCard = deck[kStackPosition];
    return p;
}

namespace {

void check(const Position& p) {
    for (int k = 0; k < kStackPosition; ++k)
        if (p.deck[k] < 0 || p.deck[k] > 51) throw std::invalid_argument("card value out of range");
    if (p.stackCard < 0 || p.stackCard > 51) throw std::invalid_argument("bad stack card");
    if (p.turned < 0 || p.turned > kPileCards) throw std::invalid_argument("bad turned count");
    if (p.run < 0 || p.run > kMaxRun) throw std::invalid_argument("bad run");
    if (!isReachable(p.removed)) throw std::invalid_argument("removed set cannot occur");
    if (p.castles != std::popcount(p.removed & kTopRow))
        throw std::invalid_argument("castles differ from the top-row cards taken");
}

int64_t endBonus(int turned, int castles, int speed) {
    if (castles <= 2) return 0;
    return int64_t{kPileCards - turned} * 1000 + speed;
}

}  // namespace

std::vector<Move> legalMoves(const Position& position) {
    if (position.castles >= 5) return {};
    std::vector<Move> moves{Move::stop()};
    if (position.turned < kPileCards) moves.push_back(Move::turn());
    int stack = rankOf(position.stackCard);
    for (uint32_t up = faceUpMask(position.removed); up != 0; up &= up - 1) {
        int p = std::countr_zero(up);
        if (ranksTouch(rankOf(position.deck[p]), stack)) moves.push_back(Move::take(p));
    }
    return moves;
}

int64_t applyMove(Position& position, const Move& move, int speed) {
    auto legal = legalMoves(position);
    if (std::find(legal.begin(), legal.end(), move) == legal.end())
        throw std::invalid_argument("illegal move");
    switch (move.kind) {
        case Move::Kind::Stop:
            return endBonus(position.turned, position.castles, speed);
        case Move::Kind::Turn:
            position.stackCard = position.deck[kStackPosition - 1 - position.turned];
            ++position.turned;
            position.run = 0;
            return -100;
        case Move::Kind::Take:
            break;
    }
    int p = move.position;
    position.removed |= 1u << p;
    position.stackCard = position.deck[p];
    ++position.run;
    int64_t gain = int64_t{position.run} * 100;
    if (p < 5) {
        ++position.castles;
        gain += castleBonus(position.castles);
        if (position.castles == 5) gain += endBonus(position.turned, 5, speed);
    }
    return gain;
}

std::string cardName(int value) {
    static const char* const kRankNames[kRanks] = {"Ace", "2", "3",  "4",    "5",     "6",   "7",
                                                   "8",   "9", "10", "Jack", "Queen", "King"};
    static const char* const kSuits[4] = {"clubs", "diamonds", "hearts", "spades"};
    if (value < 0 || value > 51) return "no card";
    return std::string(kRankNames[value / 4]) + " of " + kSuits[value % 4];
}

std::string describe(const Move& move, const Position& position) {
    switch (move.kind) {
        case Move::Kind::Take:
            return "take " + std::to_string(move.position) + " (" +
                   cardName(position.deck[move.position]) + ")";
        case Move::Kind::Turn:
            if (position.turned >= kPileCards) return "turn";
            return "turn (" + cardName(position.deck[kStackPosition - 1 - position.turned]) + ")";
        case Move::Kind::Stop:
            break;
    }
    return "stop";
}

struct Solver::Impl {
    const Layout& lay = layout();

    // What the remembered values depend on: the ranks of the deal and the speed.
    std::array<int8_t, kStackPosition> ranks{};
    int speed = 0;
    bool valid = false;

    std::array<uint32_t, kRanks> playable{};  // layout cards that may go on each stack rank
    std::vector<uint64_t> table;              // (key + 1) << 32 | value; 0 = empty
    uint32_t shift = 0;
    size_t used = 0;

    Impl() { resize(20); }

    void resize(int bits) {
        table.assign(size_t{1} << bits, 0);
        shift = 32 - static_cast<uint32_t>(bits);
        used = 0;
    }

    void prepare(const Position& p, int newSpeed) {
        check(p);
        if (newSpeed < INT16_MIN || newSpeed > INT16_MAX)
            throw std::invalid_argument("speed out of range");
        std::array<int8_t, kStackPosition> newRanks{};
        for (int k = 0; k < kStackPosition; ++k)
            newRanks[k] = static_cast<int8_t>(rankOf(p.deck[k]));
        if (valid && newRanks == ranks && newSpeed == speed) return;
        ranks = newRanks;
        speed = newSpeed;
        valid = true;
        playable.fill(0);
        for (int k = 0; k < kLayoutCards; ++k) {
            playable[(ranks[k] + 1) % kRanks] |= 1u << k;
            playable[(ranks[k] + kRanks - 1) % kRanks] |= 1u << k;
        }
        std::fill(table.begin(), table.end(), 0);
        used = 0;
    }

    size_t slot(uint32_t key) const { return static_cast<size_t>((key * 0x9E3779B1u) >> shift); }

    bool find(uint32_t key, int32_t& value) const {
        uint64_t tag = uint64_t{key + 1} << 32;
        for (size_t k = slot(key);; k = (k + 1) & (table.size() - 1)) {
            uint64_t e = table[k];
            if (e == 0) return false;
            if ((e & 0xFFFFFFFF00000000u) == tag) {
                value = static_cast<int32_t>(static_cast<uint32_t>(e));
                return true;
            }
        }
    }

    void store(uint32_t key, int32_t value) {
        if (2 * (used + 1) > table.size()) grow();
        size_t k = slot(key);
        while (table[k] != 0) k = (k + 1) & (table.size() - 1);
        table[k] = uint64_t{key + 1} << 32 | static_cast<uint32_t>(value);
        ++used;
    }

    void grow() {
        std::vector<uint64_t> old;
        old.swap(table);
        resize(static_cast<int>(32 - shift) + 1);
        for (uint64_t e : old) {
            if (e == 0) continue;
            size_t k = slot(static_cast<uint32_t>(e >> 32) - 1);
            while (table[k] != 0) k = (k + 1) & (table.size() - 1);
            table[k] = e;
            ++used;
        }
    }

    int32_t stopValue(int set, int turned) const {
        return static_cast<int32_t>(endBonus(turned, lay.castles[set], speed));
    }

    int32_t afterTurn(int set, int turned) {
        return -100 + value(set, turned + 1, ranks[kStackPosition - 1 - turned], 0);
    }

    int32_t afterTake(int set, int turned, int run, int p) {
        int32_t gain = (run + 1) * 100;
        if (p < 5) {
            int built = lay.castles[set] + 1;
            gain += castleBonus(built);
            if (built == 5) return gain + static_cast<int32_t>(endBonus(turned, 5, speed));
        }
        return gain + value(lay.next[set * kLayoutCards + p], turned, ranks[p], run + 1);
    }

    // The best gain from the position; the run is below 64, so the key takes 28 bits.
    int32_t value(int set, int turned, int stack, int run) {
        uint32_t key = ((static_cast<uint32_t>(set) * (kPileCards + 1) + turned) * kRanks + stack)
                           << 6 |
                       static_cast<uint32_t>(run);
        int32_t best;
        if (find(key, best)) return best;
        best = stopValue(set, turned);
        if (turned < kPileCards) best = std::max(best, afterTurn(set, turned));
        for (uint32_t c = lay.faceUp[set] & playable[stack]; c != 0; c &= c - 1)
            best = std::max(best, afterTake(set, turned, run, std::countr_zero(c)));
        store(key, best);
        return best;
    }

    // The legal moves of a state with their values: Stop, the takes by position, then Turn.
    std::vector<MoveValue> options(int set, int turned, int stack, int run) {
        if (lay.castles[set] >= 5) return {};
        std::vector<MoveValue> out{{Move::stop(), stopValue(set, turned)}};
        for (uint32_t c = lay.faceUp[set] & playable[stack]; c != 0; c &= c - 1) {
            int p = std::countr_zero(c);
            out.push_back({Move::take(p), afterTake(set, turned, run, p)});
        }
        if (turned < kPileCards) out.push_back({Move::turn(), afterTurn(set, turned)});
        return out;
    }
};

Solver::Solver() : impl_(std::make_unique<Impl>()) {}
Solver::~Solver() = default;

int64_t Solver::bestGain(const Position& position, int speed) {
    impl_->prepare(position, speed);
    if (position.castles >= 5) return 0;
    return impl_->value(impl_->lay.indexOf(position.removed), position.turned,
                        rankOf(position.stackCard), position.run);
}

Result Solver::solve(const Position& position, int speed) {
    Result result;
    result.gain = bestGain(position, speed);
    if (position.castles >= 5) return result;
    Impl& m = *impl_;
    int set = m.lay.indexOf(position.removed);
    int turned = position.turned, stack = rankOf(position.stackCard), run = position.run;
    int64_t left = result.gain;
    for (;;) {
        // Follow a move that keeps the best gain; Stop first, so the line is never padded.
        std::vector<MoveValue> opts = m.options(set, turned, stack, run);
        auto it = std::find_if(opts.begin(), opts.end(),
                               [&](const MoveValue& o) { return o.gain == left; });
        if (it == opts.end()) throw std::logic_error("no move keeps the best gain");
        const Move move = it->move;
        result.line.push_back(move);
        if (move.kind == Move::Kind::Stop) break;
        if (move.kind == Move::Kind::Turn) {
            left += 100;
            stack = m.ranks[kStackPosition - 1 - turned];
            ++turned;
            run = 0;
            continue;
        }
        int p = move.position;
        ++run;
        left -= run * 100;
        if (p < 5) {
            int built = m.lay.castles[set] + 1;
            if (built == 5) break;
            left -= castleBonus(built);
        }
        set = m.lay.next[set * kLayoutCards + p];
        stack = m.ranks[p];
    }
    return result;
}

std::vector<MoveValue> Solver::evaluateMoves(const Position& position, int speed) {
    impl_->prepare(position, speed);
    if (position.castles >= 5) return {};
    std::vector<MoveValue> out =
        impl_->options(impl_->lay.indexOf(position.removed), position.turned,
                       rankOf(position.stackCard), position.run);
    std::stable_sort(out.begin(), out.end(),
                     [](const MoveValue& a, const MoveValue& b) { return a.gain > b.gain; });
    return out;
}

size_t Solver::statesValued() const {
    return impl_->used;
}

}  // namespace bm::solver
