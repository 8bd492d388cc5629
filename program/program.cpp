#include "program/program.h"

#include "forms/about.h"
#include "forms/tarnhisc.h"
#include "forms/tarnmenu.h"
#include "forms/tarnmess.h"
#include "forms/tarntour.h"
#include "platform/runtime.h"
#include "table/brindle.h"
#include "table/hilo.h"

namespace bm {

Program::Program(Runtime& runtime)
    : Game(runtime),
      brindle_(std::make_unique<Brindle>(*this)),
      hilo_(std::make_unique<HiLo>(*this)),
      tarnmess_(std::make_unique<Tarnmess>(*this)),
      tarnhisc_(std::make_unique<Tarnhisc>(*this)),
      tarnmenu_(std::make_unique<Tarnmenu>(*this)),
      tarntour_(std::make_unique<Tarntour>(*this)),
      about_(std::make_unique<About>(*this)) {}

Program::~Program() = default;

void Program::start() {
    rt.dispatch([this] { tarnmenu_->show(); });
}

void Program::showMessageScreen(const std::string& message) {
    tarnmess_->load();
    tarnmess_->LbMessage.setCaption(message);
    tarnmess_->show();
}

void Program::showHighScores() {
    tarnhisc_->load();
    tarnhisc_->show();
}

void Program::showMenu() {
    tarnmenu_->show();
}

void Program::unloadMenu() {
    tarnmenu_->unload();
}

void Program::openTable() {
    brindle_->load();
    // The table's loading may have ended the program (a missing folder) or stopped half-way.
    if (brindle_->loaded()) brindle_->show();
}

void Program::openPictureShow() {
    tarntour_->load();
    if (tarntour_->loaded()) tarntour_->show();
}

void Program::openAbout() {
    about_->load();
    about_->show();
}

}  // namespace bm
