#include "tests/harness.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "forms/tarnmenu.h"
#include "platform/errors.h"
#include "table/brindle.h"

namespace fs = std::filesystem;

namespace bm::test {

namespace {

void put16(std::string& b, uint32_t v) {
    b += static_cast<char>(v & 0xFF);
    b += static_cast<char>((v >> 8) & 0xFF);
}
void put32(std::string& b, uint32_t v) {
    put16(b, v & 0xFFFF);
    put16(b, v >> 16);
}
void save(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int errorOf(const std::function<void()>& f) {
    return trapErrors(f);
}

void writeBmp(const std::string& path, int width, int height) {
    uint32_t row = static_cast<uint32_t>((width * 3 + 3) & ~3);
    uint32_t pixels = row * static_cast<uint32_t>(height);
    std::string b = "BM";
    put32(b, 54 + pixels);
    put32(b, 0);
    put32(b, 54);
    put32(b, 40);
    put32(b, static_cast<uint32_t>(width));
    put32(b, static_cast<uint32_t>(height));
    put16(b, 1);
    put16(b, 24);
    for (int k = 0; k < 6; ++k) put32(b, 0);
    b.append(pixels, '\x60');
    save(path, b);
}

void writeGifHeader(const std::string& path, int width, int height) {
    std::string b = "GIF89a";
    put16(b, static_cast<uint32_t>(width));
    put16(b, static_cast<uint32_t>(height));
    b += "\x00\x00\x00;";
    save(path, b);
}

void writeWave(const std::string& path, double seconds) {
    uint32_t rate = 8000;
    uint32_t samples = static_cast<uint32_t>(seconds * rate);
    std::string b = "RIFF";
    put32(b, 36 + samples);
    b += "WAVEfmt ";
    put32(b, 16);
    put16(b, 1);
    put16(b, 1);
    put32(b, rate);
    put32(b, rate);
    put16(b, 1);
    put16(b, 8);
    b += "data";
    put32(b, samples);
    b.append(samples, '\x80');
    save(path, b);
}

TestGame::TestGame(Options options) {
    // TMPDIR may point at a memory file system, where the synced saves of a long soak cost little.
    const char* tmp = std::getenv("TMPDIR");
    std::string tmpl = std::string(tmp && *tmp ? tmp : "/tmp") + "/bm-test-XXXXXX";
    if (!::mkdtemp(tmpl.data())) throw std::runtime_error("no temporary folder");
    folder = tmpl;
    if (options.assets) {
        const std::pair<const char*, double> sounds[] = {
            {"takecard.wav", 0.07}, {"wrongcrd.wav", 0.18}, {"castle1.wav", 1.0},
            {"newround.wav", 0.7},  {"bonus.wav", 0.05},    {"stack.wav", 0.1},
            {"hilostart.wav", 0.5}, {"hilowin.wav", 0.9},   {"hiloloose.wav", 0.9}};
        for (const auto& [name, length] : sounds) writeWave(path(name), length);
        writeBmp(path("castle.bmp"), 121, 84);
        writeBmp(path("castle2.bmp"), 121, 84);
        fs::create_directory(path("images"));
        for (int k = 0; k < options.pictures; ++k) {
            std::string base = "images/pic" + std::to_string(k);
            if (k % 2 == 0)
                writeBmp(path(base + ".bmp"), 300 + 20 * k, 200 + 10 * k);
            else
                writeGifHeader(path(base + ".gif"), 320, 240 + 40 * k);
            writeFile(base + ".log", std::string("Picture ") + std::to_string(k));
        }
    }
    rt = std::make_unique<Runtime>(ui, folder);
    game = std::make_unique<Program>(*rt);
}

TestGame::~TestGame() {
    game.reset();
    rt.reset();
    std::error_code ec;
    fs::remove_all(folder, ec);
}

Brindle& TestGame::table() {
    return game->brindle();
}

void TestGame::launch() {
    game->start();
    ui.advance(0.01);
}

void TestGame::start() {
    launch();
    game->tarnmenu().CmdStart.fireClick();
    ui.advance(6.0);
}

void TestGame::setDeck(const std::array<int16_t, 52>& deck) {
    layDeck(*game, deck);
}

void layDeck(Game& game, const std::array<int16_t, 52>& deck) {
    Brindle& t = game.brindle();
    game.state.cards.intDeck = deck;
    t.intCardState.fill(1);
    for (size_t p = 0; p <= 19; ++p) t.intCardState[p] = 0;
    t.intStackCard = deck[51];
    t.intStackCount = 50;
    t.showCardsLeft();
    t.subRedrawCards();
    t.PicStack.surface().drawCard(52, 0, deck[51], 0, 0);
    t.dealSettled();
}

std::array<int16_t, 52> TestGame::deckFromRanks(const std::array<int, 52>& ranks) {
    std::array<int16_t, 52> deck{};
    std::array<int, 13> used{};
    for (size_t p = 0; p < 52; ++p) {
        int r = ranks[p];
        if (r < 0 || r > 12 || used[static_cast<size_t>(r)] >= 4)
            throw std::invalid_argument("each rank may occur four times");
        deck[p] = static_cast<int16_t>(r * 4 + used[static_cast<size_t>(r)]++);
    }
    return deck;
}

std::array<int16_t, 52> TestGame::deckWith(std::initializer_list<std::pair<int, int>> rankAt) {
    std::array<int16_t, 52> deck;
    deck.fill(-1);
    std::array<bool, 52> used{};
    for (auto [position, rank] : rankAt) {
        int suit = 0;
        while (suit < 4 && used[static_cast<size_t>(rank * 4 + suit)]) ++suit;
        if (suit == 4) throw std::invalid_argument("each rank may occur four times");
        deck[static_cast<size_t>(position)] = static_cast<int16_t>(rank * 4 + suit);
        used[static_cast<size_t>(rank * 4 + suit)] = true;
    }
    size_t next = 0;
    for (auto& card : deck) {
        if (card >= 0) continue;
        while (used[next]) ++next;
        card = static_cast<int16_t>(next);
        used[next] = true;
    }
    return deck;
}

void TestGame::clickCard(int position) {
    Brindle& t = table();
    size_t p = static_cast<size_t>(position);
    // Below the bottom edge of the row above: the hit test tries the rows from the top down, so
    // this is the place that belongs to this card alone whatever the state of the other rows.
    t.fireMouseDown(1, 0, t.lngCardX[p] + 35, t.lngCardY[p] + (position < 5 ? 8 : 60));
    ui.advance(0.01);  // lets the one-millisecond sound timers tick
}

void TestGame::clickStack() {
    table().PicStack.fireMouseDown(1, 0, 80, 40);
    ui.advance(0.01);
}

void TestGame::clickTakeScore() {
    table().cmdtakescore.fireClick();
    ui.advance(0.01);
}

std::vector<std::string> TestGame::soundsPlayed() const {
    std::vector<std::string> names;
    for (const auto& s : ui.sounds) names.push_back(s.file);
    return names;
}

size_t TestGame::countSound(const std::string& file) const {
    size_t n = 0;
    for (const auto& s : ui.sounds) n += s.file == file;
    return n;
}

std::string TestGame::readFile(const std::string& name) const {
    std::ifstream in(path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void TestGame::writeFile(const std::string& name, const std::string& bytes) const {
    save(path(name), bytes);
}

}  // namespace bm::test
