// How much of the screen a window may take.
#pragma once

#include <QGuiApplication>
#include <QScreen>
#include <QSize>
#include <QWidget>

namespace bm::qt {

// Room left on the screen for a window's frame and title bar, in screen (logical) pixels.
inline constexpr int kFrameAllowance = 40;

// `wanted`, cut down to what fits with a window's frame in the free area of the screen `near` is
// on (or of the primary screen).
inline QSize onScreen(QSize wanted, const QWidget* near) {
    const QScreen* sc = near && near->screen() ? near->screen() : QGuiApplication::primaryScreen();
    if (!sc) return wanted;
    const QSize room = sc->availableGeometry().size() - QSize(kFrameAllowance, kFrameAllowance);
    return wanted.boundedTo(room.expandedTo(QSize(1, 1)));
}

}  // namespace bm::qt
