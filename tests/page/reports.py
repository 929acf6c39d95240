"""Reports, and pages made of them."""

import pathlib
import subprocess

DECLARATION = '<?xml version="1.0" encoding="UTF-8"?>'
MESSAGES = ("Signing the Payload failed", "Start copying file failed", "WYND is not present",
            "Update not compatable to this system")


def inventory(version, component="25227"):
    return (f'{DECLARATION}<SVMInventory lang="en"><Device  componentID="{component}" display="QRX"><Application '
            f'componentType="FRMW" version="{version}" display="QRX"/></Device></SVMInventory>')


def update(version, component="25227"):
    return (f'{DECLARATION}<SVMExecution lang="en"><Device  componentID="{component}" display="QRX"><Application '
            f'componentType="FRMW" version="{version}" display="QRX" packageVersion="{version}"><SPStatus '
            'result = "true" ><Message id="0">Update is successful</Message></SPStatus></Application></Device>'
            '<RebootRequired>0</RebootRequired></SVMExecution>')


def failure(message):
    return (f'{DECLARATION}<SVMExecution lang="en"><SPStatus result = "false" ><Message id="1">{message}</Message>'
            '</SPStatus></SVMExecution>')


def mixed(number):
    """The report of one chassis of many: most succeeded, some failed, one in twenty is damaged."""
    if number % 20 == 7:
        return update("1.40.200").replace("QRX", "Q<X")
    if number % 5 == 3:
        return failure(MESSAGES[number // 5 % len(MESSAGES)])
    return inventory("1.30.100") if number % 4 == 0 else update("1.40.200")


def write_mixed(folder, count):
    """Writes the reports of `count` chassis; returns their file names."""
    names = [f"rack-{number}.xml" for number in range(1, count + 1)]
    for number, name in enumerate(names, start=1):
        (pathlib.Path(folder) / name).write_text(mixed(number))
    return names


def write_hosts(folder, count):
    """Writes the table of `count` hosts, two a chassis, and their reports; returns the table's name."""
    lines = ["chassis,host,report,before,after,outcome,cause"]
    for number, name in enumerate(write_mixed(folder, count), start=1):
        values = {1: f"{name},1.30.100,1.40.200,updated,", 2: ",1.30.100,,unreachable,no route to host",
                  3: ",,,,the roll-out was stopped"}.get(number % 4, f"{name},1.30.100,1.30.100,,")
        lines.append(f"rack-{(number + 1) // 2},server-{number},{values}")
    (pathlib.Path(folder) / "hosts.csv").write_text("\n".join(lines) + "\n")
    return "hosts.csv"


def make_page(qrxinspect, folder, names, options=("--",)):
    """Has qrxinspect make the page of these reports; returns its path."""
    page = pathlib.Path(folder) / "page.html"
    ended = subprocess.run([qrxinspect, "report", "--html", *options, *names], cwd=folder, check=False, capture_output=True)
    page.write_bytes(ended.stdout)
    return page
