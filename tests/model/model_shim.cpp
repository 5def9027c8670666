// The built library behind commands on standard input, one answer line each, for tests/model/compare.py.
// The commands and answers are those of model.py; only the library gets dumpSize and reply. With "each", every answer
// goes out before the next command runs, so that the last one is known when the process does not live through it.
#include "tests/model/shim_calls.h"

#include <QtCore/QFileInfo>

#include <functional>
#include <iostream>
#include <map>

namespace {

using Command = std::function<std::string(Arguments &)>;

/// A command that answers "ok".
template <class Action>
Command doing(Action action)
{
    return [action](Arguments &arguments) {
        action(arguments);
        return std::string("ok");
    };
}

const std::map<std::string, Command> commands = {
    {"reset", doing([](Arguments &) { loadAnew(); })},
    {"word", doing([](Arguments &in) {
         int *words = reinterpret_cast<int *>(&settings[in.integer()]);
         words += in.integer();
         *words = in.integer();
     })},
    {"store", doing(changeStore)},
    {"dump", [](Arguments &) { return dump(*plugin->driver); }},
    {"dumpSize", [](Arguments &) { return number(qint64(dump(*plugin->driver).size())); }},
    {"reply", reply},
    {"SetComInfo", doing([](Arguments &in) {
         const int record = in.integer();
         plugin->setComInfo(record ? &settings[record] : nullptr);
     })},
    {"RegistCallBackFuncIntf", doing([](Arguments &in) {
         const bool done = in.integer();
         const bool fail = in.integer();
         plugin->registCallBackFuncIntf(done ? noteDone : nullptr, fail ? noteFail : nullptr);
     })},
    {"FlashLocalRegister", keepPointers},
    {"EnCommStation", doing([](Arguments &in) {
         const int station = in.integer();
         plugin->enCommStation(station, in.integer());
     })},
    {"QueryFinishFlag", [](Arguments &) { return number(plugin->queryFinishFlag()); }},
    {"ComCommunication", comCommunication},
    {"DataCom", dataCom},
    {"ReCreatReadVarList", recreate},
    {"AddListReadVar", [](Arguments &in) { return addVar(in, plugin->addListReadVar); }},
    {"AddListWriteVar",
     [](Arguments &in) {
         const int mode = in.integer();
         return addVar(in, [mode](RW_VAR *var) { return plugin->addListWriteVar(var, mode); });
     }},
    {"AddListOnceReadVar",
     [](Arguments &in) {
         const int mode = in.integer();
         return addVar(in, [mode](RW_VAR *var) { return plugin->addListOnceReadVar(var, mode); });
     }},
    {"PLCAddressChangeIntef",
     [](Arguments &in) {
         const int devType = in.integer();
         return number(plugin->plcAddressChangeIntef(devType, in.quoted()));
     }},
    {"GetRegisterData", getRegisterData},
    {"SetRegisterData", setRegisterData},
};

/// Commands whose answer is the result alone.
const std::map<std::string, Command> helpers = {
    {"toInt", toInt},
    {"CalCRC", [](Arguments &in) { return checksum(in, "CalCRC"); }},
    {"CalSUM", [](Arguments &in) { return checksum(in, "CalSUM"); }},
    {"CalLRC", [](Arguments &in) { return checksum(in, "CalLRC"); }},
    {"CalXOR", [](Arguments &in) { return checksum(in, "CalXOR"); }},
    {"DigitalToASCII",
     [](Arguments &in) { return number(symbol<decltype(&::DigitalToASCII)>("DigitalToASCII")(in.integer())); }},
    {"ASCIIToDigital",
     [](Arguments &in) { return number(symbol<decltype(&::ASCIIToDigital)>("ASCIIToDigital")(in.integer())); }},
};

std::string answer(const std::string &line)
{
    Arguments arguments(line);
    const std::string name = arguments.word();
    const auto helper = helpers.find(name);
    if (helper != helpers.end())
        return helper->second(arguments);
    const auto command = commands.find(name);
    if (command == commands.end())
        giveUp("no command " + name);
    callbacks.clear();
    const std::string result = command->second(arguments);
    return result + " calls=" + callbacks + " " + summary();
}

} // namespace

int main(int argc, char **argv)
{
    const bool each = argc == 3 && argv[2] == std::string("each");
    if (argc != 2 && !each)
        giveUp("usage: model_shim LIBRARY [each] < COMMANDS");
    std::ios::sync_with_stdio(false);
    std::cin.tie(nullptr);
    libraryPath = QFileInfo(QString::fromLocal8Bit(argv[1])).absoluteFilePath();
    loadAnew();
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << answer(line) << '\n';
        if (each)
            std::cout.flush();
    }
}
