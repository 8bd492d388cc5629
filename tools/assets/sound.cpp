// Additive synthesis of the game's short sound effects and a minimal WAVE writer.
#include <QFile>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "assets.h"

namespace bm::assets {

namespace {

constexpr int kRate = 22050;
constexpr double kTwoPi = 2.0 * std::numbers::pi;
// Peak level of every sound: -3 dBFS leaves headroom and keeps all effects equally loud.
const double kPeak = std::pow(10.0, -3.0 / 20.0);

using Samples = std::vector<double>;

struct Partial {
    double ratio;
    double amp;
};

// Timbres as harmonic (or slightly inharmonic) series.
const std::vector<Partial> kSoft = {{1, 1}, {2, 0.2}, {3, 0.07}};
const std::vector<Partial> kBrass = {{1, 1},   {2, 0.7},  {3, 0.5}, {4, 0.33},
                                     {5, 0.2}, {6, 0.12}, {7, 0.07}};
const std::vector<Partial> kBell = {{1, 1}, {2, 0.3}, {3.01, 0.1}, {4.17, 0.06}};
const std::vector<Partial> kBuzz = {{1, 1}, {2, 0.25}, {3, 0.3}, {5, 0.1}, {7, 0.04}};

struct Tone {
    double start = 0;   // seconds
    double length = 0;  // seconds, release included
    double freq = 440;
    double freqEnd = 0;  // exponential glide towards this frequency; 0 keeps the pitch
    double attack = 0.005;
    double release = 0.03;
    double decay = 0;  // exponential decay rate per second; 0 sustains
    double amp = 1;
    double vibrato = 0;  // depth as a fraction of the frequency, at 5.5 Hz
    double brassy = 0;   // upper partials fade with the envelope, as in a blown instrument
    std::vector<Partial> partials = kSoft;
};

double midiFreq(int note) {
    return 440.0 * std::pow(2.0, (note - 69) / 12.0);
}

void addTone(Samples& out, const Tone& t) {
    const auto first = static_cast<size_t>(t.start * kRate);
    const auto count = static_cast<size_t>(t.length * kRate);
    if (out.size() < first + count) out.resize(first + count, 0.0);
    std::vector<double> phase(t.partials.size(), 0.0);
    for (size_t i = 0; i < count; ++i) {
        const double time = double(i) / kRate;
        // Raised-cosine attack, exponential body, linear release.
        double env =
            time < t.attack ? 0.5 - 0.5 * std::cos(std::numbers::pi * time / t.attack) : 1.0;
        env *= std::exp(-t.decay * time);
        const double tail = t.length - time;
        if (tail < t.release) env *= tail / t.release;
        double freq = t.freq;
        if (t.freqEnd > 0) freq *= std::pow(t.freqEnd / t.freq, time / t.length);
        freq *= 1.0 + t.vibrato * std::sin(kTwoPi * 5.5 * time) * std::min(1.0, time / 0.15);
        double value = 0;
        for (size_t k = 0; k < t.partials.size(); ++k) {
            const Partial& p = t.partials[k];
            if (freq * p.ratio > 0.45 * kRate) continue;  // keep clear of aliasing
            phase[k] += kTwoPi * freq * p.ratio / kRate;
            double amp = p.amp;
            if (t.brassy > 0) amp *= std::pow(std::max(env, 1e-4), t.brassy * (p.ratio - 1) / 3);
            value += amp * std::sin(phase[k]);
        }
        out[first + i] += t.amp * env * value;
    }
}

// Band-limited noise burst for percussive clicks: two one-pole low-passes, subtracted.
void addNoise(Samples& out, double start, double length, double amp, double decay, double lowHz,
              double highHz, uint32_t seed) {
    const auto first = static_cast<size_t>(start * kRate);
    const auto count = static_cast<size_t>(length * kRate);
    if (out.size() < first + count) out.resize(first + count, 0.0);
    const double aHigh = 1.0 - std::exp(-kTwoPi * highHz / kRate);
    const double aLow = 1.0 - std::exp(-kTwoPi * lowHz / kRate);
    double high = 0, low = 0;
    for (size_t i = 0; i < count; ++i) {
        seed ^= seed << 13;
        seed ^= seed >> 17;
        seed ^= seed << 5;
        const double white = seed / 2147483648.0 - 1.0;
        high += aHigh * (white - high);
        low += aLow * (high - low);
        const double time = double(i) / kRate;
        out[first + i] +=
            amp * (high - low) * std::exp(-decay * time) * std::min(1.0, time / 0.001);
    }
}

// Trims to length, fades the ends against clicks and scales to the common peak level.
std::vector<int16_t> finish(Samples s, double length) {
    s.resize(static_cast<size_t>(length * kRate), 0.0);
    const size_t fadeIn = kRate * 2 / 1000, fadeOut = kRate * 6 / 1000;
    for (size_t i = 0; i < fadeIn && i < s.size(); ++i) s[i] *= double(i) / fadeIn;
    for (size_t i = 0; i < fadeOut && i < s.size(); ++i) s[s.size() - 1 - i] *= double(i) / fadeOut;
    double peak = 1e-9;
    for (double v : s) peak = std::max(peak, std::abs(v));
    std::vector<int16_t> pcm(s.size());
    for (size_t i = 0; i < s.size(); ++i)
        pcm[i] = static_cast<int16_t>(std::lround(s[i] / peak * kPeak * 32767));
    return pcm;
}

void put16(QByteArray& b, uint16_t v) {
    b.append(char(v & 0xff));
    b.append(char(v >> 8));
}
void put32(QByteArray& b, uint32_t v) {
    put16(b, uint16_t(v & 0xffff));
    put16(b, uint16_t(v >> 16));
}

bool writeWav(const QString& path, const std::vector<int16_t>& pcm) {
    const auto dataBytes = static_cast<uint32_t>(pcm.size() * 2);
    QByteArray b;
    b.append("RIFF");
    put32(b, 36 + dataBytes);
    b.append("WAVEfmt ");
    put32(b, 16);         // format chunk length
    put16(b, 1);          // PCM
    put16(b, 1);          // mono
    put32(b, kRate);      // sample rate
    put32(b, kRate * 2);  // bytes per second
    put16(b, 2);          // block align
    put16(b, 16);         // bits per sample
    b.append("data");
    put32(b, dataBytes);
    for (int16_t v : pcm) put16(b, static_cast<uint16_t>(v));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(b) == b.size();
}

// A run of notes, each {midi note, start, length}, sharing one voice.
struct Note {
    int midi;
    double start;
    double length;
};
void addMelody(Samples& out, const Tone& voice, std::initializer_list<Note> notes) {
    for (const Note& n : notes) {
        Tone t = voice;
        t.freq = midiFreq(n.midi);
        t.start = n.start;
        t.length = n.length;
        addTone(out, t);
    }
}

// A light snap: filtered noise over a short high ping and a low knock.
Samples takeCard() {
    Samples s;
    addNoise(s, 0, 0.07, 1.0, 75, 1200, 5000, 0x1234567);
    addTone(s, {.length = 0.05,
                .freq = 1900,
                .attack = 0.001,
                .release = 0.02,
                .decay = 90,
                .amp = 0.25,
                .partials = kSoft});
    addTone(s, {.length = 0.06,
                .freq = 190,
                .attack = 0.002,
                .release = 0.03,
                .decay = 60,
                .amp = 0.35,
                .partials = kSoft});
    return s;
}

// A low, falling "nope".
Samples wrongCard() {
    Samples s;
    Tone t{.length = 0.18,
           .freq = 150,
           .freqEnd = 105,
           .attack = 0.008,
           .release = 0.07,
           .decay = 5,
           .amp = 1,
           .partials = kBuzz};
    addTone(s, t);
    // A slightly sharp second voice beats against the first: a soft buzz rather than a tone.
    t.freq *= 1.035;
    t.freqEnd *= 1.035;
    t.amp = 0.7;
    addTone(s, t);
    return s;
}

// Brass fanfare up a major triad, ending on a held chord.
Samples castleFanfare() {
    Samples s;
    const Tone brass{.attack = 0.025,
                     .release = 0.04,
                     .amp = 1,
                     .vibrato = 0,
                     .brassy = 1.2,
                     .partials = kBrass};
    addMelody(s, brass, {{67, 0.0, 0.12}, {72, 0.13, 0.12}, {76, 0.26, 0.12}});
    Tone last = brass;
    last.release = 0.3;
    last.decay = 1.2;
    last.vibrato = 0.006;
    addMelody(s, last, {{79, 0.39, 0.61}});
    last.amp = 0.45;
    addMelody(s, last, {{72, 0.39, 0.61}, {76, 0.39, 0.61}});
    return s;
}

// Rising bell arpeggio.
Samples newRound() {
    Samples s;
    const Tone bell{.attack = 0.003, .release = 0.1, .decay = 5, .amp = 1, .partials = kBell};
    const int notes[] = {72, 76, 79, 84, 88};
    for (int i = 0; i < 5; ++i) {
        Tone t = bell;
        t.freq = midiFreq(notes[i]);
        t.start = 0.09 * i;
        t.length = 0.7 - t.start;
        t.amp = 1.0 - 0.1 * i;
        addTone(s, t);
    }
    return s;
}

// Very short bright tick; it is repeated rapidly while points are counted up.
Samples bonusTick() {
    Samples s;
    addTone(s, {.length = 0.045,
                .freq = 2093,
                .attack = 0.002,
                .release = 0.015,
                .decay = 50,
                .partials = {{1, 1}, {2, 0.2}}});
    return s;
}

// Two-note coin chime.
Samples stackCoin() {
    Samples s;
    const Tone coin{.attack = 0.002, .release = 0.02, .decay = 12, .partials = kBell};
    addMelody(s, coin, {{83, 0.0, 0.045}});
    Tone high = coin;
    high.decay = 22;
    addMelody(s, high, {{88, 0.04, 0.07}});
    return s;
}

// Suspense: a semitone step up in octaves, the second note trembling.
Samples hiloStart() {
    Samples s;
    const Tone voice{
        .attack = 0.02, .release = 0.06, .decay = 2, .brassy = 0.6, .partials = kBrass};
    addMelody(s, voice, {{59, 0.0, 0.21}, {47, 0.0, 0.21}});
    Tone held = voice;
    held.vibrato = 0.012;
    held.release = 0.15;
    addMelody(s, held, {{60, 0.24, 0.26}, {48, 0.24, 0.26}});
    return s;
}

// Cheerful jingle ending on a major chord.
Samples hiloWin() {
    Samples s;
    const Tone pluck{.attack = 0.003, .release = 0.05, .decay = 7, .partials = kBell};
    addMelody(
        s, pluck,
        {{84, 0.0, 0.12}, {88, 0.1, 0.12}, {91, 0.2, 0.12}, {88, 0.3, 0.1}, {91, 0.38, 0.12}});
    Tone chord = pluck;
    chord.decay = 3.5;
    chord.release = 0.2;
    chord.amp = 0.6;
    addMelody(s, chord, {{84, 0.48, 0.42}, {88, 0.48, 0.42}, {91, 0.48, 0.42}, {96, 0.48, 0.42}});
    return s;
}

// Descending "wah wah wah waaah".
Samples hiloLose() {
    Samples s;
    const Tone wah{.attack = 0.06, .release = 0.07, .decay = 3, .brassy = 1.6, .partials = kBrass};
    addMelody(s, wah, {{62, 0.0, 0.19}, {61, 0.2, 0.19}, {60, 0.4, 0.19}});
    Tone last = wah;
    last.freq = midiFreq(59);
    last.freqEnd = midiFreq(58) * 0.98;
    last.start = 0.6;
    last.length = 0.3;
    last.vibrato = 0.02;
    last.release = 0.15;
    last.decay = 1.5;
    addTone(s, last);
    return s;
}

}  // namespace

bool writeSounds(const QString& folder) {
    struct Sound {
        const char* name;
        Samples (*make)();
        double length;
    };
    const Sound sounds[] = {
        {"takecard.wav", takeCard, 0.07},    {"wrongcrd.wav", wrongCard, 0.18},
        {"castle1.wav", castleFanfare, 1.0}, {"newround.wav", newRound, 0.7},
        {"bonus.wav", bonusTick, 0.045},     {"stack.wav", stackCoin, 0.11},
        {"hilostart.wav", hiloStart, 0.5},   {"hilowin.wav", hiloWin, 0.9},
        {"hiloloose.wav", hiloLose, 0.9},
    };
    for (const Sound& s : sounds) {
        if (!writeWav(folder + '/' + s.name, finish(s.make(), s.length))) return false;
    }
    return true;
}

}  // namespace bm::assets
