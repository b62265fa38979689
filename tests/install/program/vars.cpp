// Gives the box a name and prints what it reads back.
#include <skylark_io/conf/dtc_conf.h>

#include <cstdio>

int main()
{
    namespace conf = KORVA::DTC::CONF;
    conf::Vars vars("");
    conf::setValue(conf::NAME::dtcName, "probe", vars);
    vars.write();
    vars.read();
    std::printf("dtcName %s\n", vars.getVar(conf::NAME::dtcName).c_str());
}
